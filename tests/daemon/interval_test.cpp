// SPDX-License-Identifier: Apache-2.0
#include "monitor/interval.h"

#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <array>
#include <limits>
#include <string>
#include <thread>
#include <vector>

#include "monitor/role.h"
#include "tests/daemon/support/own_system.h"

namespace KORA::HA::Daemon {
namespace {

using koraha::test::configure;
using koraha::test::inOwnSystem;
using koraha::test::roleMarker;
using koraha::test::touch;

std::vector<bool> callsOf(unsigned int rest, const std::string& name, int count) {
    std::vector<bool> answers;
    for (int i = 0; i < count; ++i) {
        answers.push_back(doTaskByIntervals(rest, name));
    }
    return answers;
}

TEST(DoTaskByIntervals, firstCallForAnyNameIsTrueWhateverRestIs) {
    EXPECT_TRUE(doTaskByIntervals(0, "none"));
    EXPECT_TRUE(doTaskByIntervals(4, "some"));
    EXPECT_TRUE(doTaskByIntervals(std::numeric_limits<unsigned int>::max(), "most"));
    EXPECT_TRUE(doTaskByIntervals(1, ""));
}

TEST(DoTaskByIntervals, restZeroIsTrueOnEveryCall) {
    EXPECT_EQ(std::vector<bool>(100, true), callsOf(0, "task", 100));
}

TEST(DoTaskByIntervals, restTwoIsTrueOnEveryThirdCall) {
    EXPECT_EQ((std::vector<bool>{true, false, false, true, false, false, true}),
              callsOf(2, "task", 7));
}

TEST(DoTaskByIntervals, restFourRunsOnCallsOneSixEleven) {
    const std::vector<bool> answers = callsOf(4, "task", 1000);
    for (std::size_t i = 0; i < answers.size(); ++i) {
        EXPECT_EQ(i % 5 == 0, answers[i]) << "call " << i + 1;
    }
}

TEST(DoTaskByIntervals, twoNamesKeepIndependentCounters) {
    EXPECT_TRUE(doTaskByIntervals(2, "one"));
    EXPECT_EQ((std::vector<bool>{true, false, false, true}), callsOf(2, "other", 4));
    EXPECT_EQ((std::vector<bool>{false, false, true}), callsOf(2, "one", 3));
}

TEST(DoTaskByIntervals, smallerRestThanTheCounterRunsAtOnce) {
    callsOf(10, "task", 6);  // counter 5
    EXPECT_TRUE(doTaskByIntervals(3, "task"));
    EXPECT_EQ((std::vector<bool>{false, true}), callsOf(1, "task", 2));
}

TEST(DoTaskByIntervals, restIsComparedAnewAtEachCallAndEqualIsEnough) {
    callsOf(10, "task", 4);  // counter 3
    EXPECT_FALSE(doTaskByIntervals(4, "task"));
    EXPECT_TRUE(doTaskByIntervals(4, "task"));
}

TEST(DoTaskByIntervals, negativeCountTakenAsUnsignedRunsOnceAndPracticallyNeverAgain) {
    const auto rest = static_cast<unsigned int>(-1);
    EXPECT_TRUE(doTaskByIntervals(rest, "task"));
    EXPECT_EQ(std::vector<bool>(100'000, false), callsOf(rest, "task", 100'000));
}

TEST(DoTaskByIntervals, twoThreadsMayPutTheirFirstNamesInAtTheSameTime) {
    std::array<std::vector<bool>, 2> answers;
    const auto passes = [&answers](std::size_t thread) {
        for (int task = 0; task < 100; ++task) {
            const std::string name = std::to_string(thread) + "/" + std::to_string(task);
            const auto ofTask = callsOf(1, name, 3);
            answers.at(thread).insert(answers.at(thread).end(), ofTask.begin(), ofTask.end());
        }
    };
    std::thread other(passes, 0);
    passes(1);
    other.join();
    for (const auto& ofThread : answers) {
        ASSERT_EQ(300U, ofThread.size());
        for (std::size_t call = 0; call < ofThread.size(); ++call) {
            EXPECT_EQ(call % 3 != 1, ofThread[call]);
        }
    }
}

TEST(CheckInterval, isTheActiveIntervalWithTheRoleMarkerAndThePassiveOneWithout) {
    inOwnSystem([] {
        EXPECT_EQ(15, checkInterval());
        touch(roleMarker);
        EXPECT_EQ(20, checkInterval());
        ::unlink(roleMarker);
        EXPECT_EQ(15, checkInterval());
    });
}

TEST(CheckInterval, comesFromTheLoadedSettings) {
    inOwnSystem([] {
        configure(R"({"BASE_INTERVAL_ACTIVE": 7, "BASE_INTERVAL_PASSIVE": 9})");
        EXPECT_EQ(9, checkInterval());
        touch(roleMarker);
        EXPECT_EQ(7, checkInterval());
    });
}

TEST(CheckInterval, directoryOfTheMarkersNameCountsAsPresent) {
    inOwnSystem([] {
        ASSERT_EQ(0, ::mkdir(roleMarker, 0));
        EXPECT_EQ(20, checkInterval());
        EXPECT_TRUE(isLocalActive());
    });
}

TEST(IsLocalActive, isTrueExactlyWhileTheMarkerExists) {
    inOwnSystem([] {
        EXPECT_FALSE(isLocalActive());
        touch(roleMarker);
        EXPECT_TRUE(isLocalActive());
        ::unlink(roleMarker);
        EXPECT_FALSE(isLocalActive());
    });
}

TEST(IsLocalActive, isFalseWhenTheTestFailsForAnyOtherReason) {
    inOwnSystem([] {
        ASSERT_EQ(0, ::symlink(roleMarker, roleMarker));  // ELOOP
        EXPECT_FALSE(isLocalActive());
        EXPECT_EQ(15, checkInterval());
    });
}

}  // namespace
}  // namespace KORA::HA::Daemon
