// SPDX-License-Identifier: Apache-2.0
#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "daemon/my_routine.h"
#include "tests/daemon/support/thread_calls.h"
#include "tests/scripted/script.h"
#include "tests/support/failing_memory.h"

namespace KORA::HA::Daemon {
namespace {

using koraha::test::FailingAllocation;

const std::vector<std::string> failureLine = {"koraharemotemond:462 Failed to get thread/future"};

class StartFailure : public testing::Test {
  protected:
    ~StartFailure() override {
        koraha::test::beforeEachThread([](int) { return true; });
    }

    boost::function<bool()> routine() {
        return [this] {
            ran = true;
            return true;
        };
    }

    std::atomic<bool> ran{false};
};

TEST_F(StartFailure, isLoggedAndYieldsTwoWithoutWaitingAndJoinReturnsAtOnce) {
    koraha::test::beforeEachThread([](int) { return false; });
    MyRoutine failed(routine());
    EXPECT_EQ(failureLine, script().logLines);
    const auto before = std::chrono::steady_clock::now();
    for (int i = 0; i < 1'000; ++i) {  // a wait in any of them would take a quarter of an hour
        ASSERT_EQ(2, failed.getState());
    }
    EXPECT_LT(std::chrono::steady_clock::now() - before, std::chrono::minutes(1));
    failed.join();
    EXPECT_EQ(failureLine, script().logLines);
    EXPECT_FALSE(ran);
}

TEST_F(StartFailure, staysWithTheObjectThatItWasMovedTo) {
    koraha::test::beforeEachThread([](int) { return false; });
    MyRoutine failed(routine());
    MyRoutine moved(std::move(failed));
    EXPECT_EQ(2, moved.getState());
    moved.join();
    EXPECT_EQ(failureLine, script().logLines);
}

TEST_F(StartFailure, ofOneLeavesTheNextUntouched) {
    const int first = koraha::test::threadsMade();
    koraha::test::beforeEachThread([first](int number) { return number != first; });
    MyRoutine failed([] { return true; });
    MyRoutine started(routine());
    EXPECT_EQ(2, failed.getState());
    started.join();
    EXPECT_EQ(1, started.getState());
    EXPECT_TRUE(ran);
    EXPECT_EQ(failureLine, script().logLines);
}

TEST_F(StartFailure, comesFromTheSystemWhenNoStackIsToBeHad) {
    const std::size_t usual = MyRoutine::attr.get_stack_size();
    MyRoutine::attr.set_stack_size(std::size_t{1} << 60U);
    MyRoutine failed(routine());
    MyRoutine::attr.set_stack_size(usual);
    EXPECT_EQ(failureLine, script().logLines);
    EXPECT_EQ(2, failed.getState());
    failed.join();
    EXPECT_FALSE(ran);
}

TEST_F(StartFailure, comesFromEachAllocationThatFails) {
    int failures = 0;
    for (bool started = false; !started; ++failures) {
        script().forgetCalls();
        const boost::function<bool()> given = routine();
        std::optional<MyRoutine> made;
        {
            boost::function<bool()> argument = given;
            const FailingAllocation failing(failures);
            made.emplace(std::move(argument));
            started = !FailingAllocation::hasFailed();
        }
        made->join();
        EXPECT_EQ(started ? 1 : 2, made->getState());
        EXPECT_EQ(started ? std::vector<std::string>{} : failureLine, script().logLines);
        EXPECT_EQ(started, ran);
    }
    EXPECT_GT(failures, 3);  // the shared promise, its state and the thread's own at least
}

TEST_F(StartFailure, isNoWorseWhenThereIsNotEvenMemoryForItsLine) {
    boost::function<bool()> argument = routine();
    std::optional<MyRoutine> made;
    {
        const FailingAllocation noMemory(0, true);
        made.emplace(std::move(argument));
    }
    EXPECT_EQ(2, made->getState());
    made->join();
    EXPECT_EQ(std::vector<std::string>{}, script().logLines);
    EXPECT_FALSE(ran);
}

}  // namespace
}  // namespace KORA::HA::Daemon
