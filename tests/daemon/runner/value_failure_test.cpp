// SPDX-License-Identifier: Apache-2.0
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "daemon/my_routine.h"
#include "tests/scripted/script.h"

namespace KORA::HA::Daemon {
namespace {

// A routine's thread always stores a value, or ends the process: only in here can the future be one
// that has none. An explicit instantiation may name a private member.
boost::unique_future<bool>& futureOf(MyRoutine& routine);

template <boost::unique_future<bool> MyRoutine::*member>
struct Reach {
    friend boost::unique_future<bool>& futureOf(MyRoutine& routine) { return routine.*member; }
};
template struct Reach<&MyRoutine::future_>;

TEST(MyRoutine, futureWhoseValueCannotBeReadYieldsTwoAndIsLoggedAtEachQuery) {
    MyRoutine routine([] { return true; });
    routine.join();
    futureOf(routine) = boost::promise<bool>().get_future();  // of a promise that is gone
    const std::string line = "koraharemotemond:484 Failed to get future return value";
    EXPECT_EQ(2, routine.getState());
    EXPECT_EQ(std::vector<std::string>{line}, script().logLines);
    EXPECT_EQ(2, routine.getState());
    EXPECT_EQ((std::vector<std::string>{line, line}), script().logLines);
}

}  // namespace
}  // namespace KORA::HA::Daemon
