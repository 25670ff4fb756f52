// SPDX-License-Identifier: Apache-2.0
#include <gtest/gtest.h>

#include "log/running_flag.h"
#include "tests/scripted/script.h"

namespace {

// Every test begins with nothing called and a running daemon, also where one process runs them all.
class FreshStart : public testing::EmptyTestEventListener {
    void OnTestStart(const testing::TestInfo&) override {
        script().forgetCalls();
        KORA::HA::Daemon::TEST_setRunning(true);
    }
};

const bool appended = [] {
    testing::UnitTest::GetInstance()->listeners().Append(new FreshStart);
    return true;
}();

}  // namespace
