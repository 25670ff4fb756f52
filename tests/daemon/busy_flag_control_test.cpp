// SPDX-License-Identifier: Apache-2.0
#include "monitor/busy_flag_control.h"

#include <gtest/gtest.h>
#include <unistd.h>

#include "log/running_flag.h"
#include "tests/daemon/support/calls.h"
#include "tests/daemon/support/own_system.h"
#include "tests/daemon/support/virtual_time.h"
#include "tests/scripted/script.h"

namespace KORA::HA::Daemon {
namespace {

using namespace koraha::test;

const std::string created = "koraharemotemond:87 Create flag: /tmp/ha/ha_remote_busy";
const std::string deleted = "koraharemotemond:94 Delete flag: /tmp/ha/ha_remote_busy";

// One cycle for each sample; between two cycles: what happened to the flag, and whether it is up.
struct Cycle {
    Calls logLines;
    bool isUp;
    bool operator==(const Cycle&) const = default;
};

std::vector<Cycle> runCycles(const std::vector<bool>& alive) {
    Status status;
    script().remoteAlive = [alive, next = std::size_t{0}]() mutable { return alive.at(next++); };
    std::vector<Cycle> cycles;
    onSleep([&cycles](unsigned int) {
        cycles.push_back({script().logLines, exists(busyFlag)});
        script().logLines.clear();
    });
    stopAfterSleeps(static_cast<int>(alive.size()));
    EXPECT_FALSE(busyFlagControl(status));
    return cycles;
}

const Cycle raised{{created}, true};
const Cycle lowered{{deleted}, false};
const Cycle leftUp{{}, true};
const Cycle leftDown{{}, false};

TEST(BusyFlagControl, peerInReachFromTheFirstCycleOnRaisesTheFlagInCycle1AndLeavesItAlone) {
    inOwnSystem([] {
        EXPECT_EQ((std::vector<Cycle>{raised, leftUp, leftUp, leftUp}),
                  runCycles({true, true, true, true}));
    });
}

TEST(BusyFlagControl, peerNeverInReachNeverRaisesOrLowersTheFlag) {
    inOwnSystem([] {
        EXPECT_EQ((std::vector<Cycle>(5, leftDown)), runCycles(std::vector<bool>(5, false)));
        touch(busyFlag);
        EXPECT_EQ((std::vector<Cycle>(5, leftUp)), runCycles(std::vector<bool>(5, false)));
    });
}

TEST(BusyFlagControl, samplesTrueFalseTrueRaiseInCycle1AndAgainSilentlyInCycle3) {
    inOwnSystem([] {
        EXPECT_EQ((std::vector<Cycle>{raised, leftUp, leftUp}), runCycles({true, false, true}));
    });
}

TEST(BusyFlagControl, samplesTrueFalseFalseRaiseInCycle1AndLowerInCycle3) {
    inOwnSystem([] {
        EXPECT_EQ((std::vector<Cycle>{raised, leftUp, lowered, leftDown}),
                  runCycles({true, false, false, false}));
    });
}

TEST(BusyFlagControl, samplesTrueTrueFalseFalseRaiseInCycle1AndLowerInCycle4) {
    inOwnSystem([] {
        EXPECT_EQ((std::vector<Cycle>{raised, leftUp, leftUp, lowered}),
                  runCycles({true, true, false, false}));
    });
}

enum class Action { none, up, down };

// What the third of three cycles does. Whether the file exists before it, is set for it: raising a
// raised flag and lowering a lowered one cannot be seen.
Cycle thirdCycle(const std::vector<bool>& history, bool fileExists) {
    std::vector<Cycle> cycles;
    Status status;
    script().remoteAlive = [history, next = std::size_t{0}]() mutable { return history[next++]; };
    onSleep([&cycles, fileExists](unsigned int) {
        cycles.push_back({script().logLines, exists(busyFlag)});
        script().logLines.clear();
        ::unlink(busyFlag);
        if (fileExists) {
            touch(busyFlag);
        }
    });
    stopAfterSleeps(3);
    EXPECT_FALSE(busyFlagControl(status));
    return cycles.at(2);
}

void expectAction(const std::vector<bool>& history, Action action) {
    inOwnSystem(
        [&] { EXPECT_EQ(action == Action::up ? raised : leftDown, thirdCycle(history, false)); });
    inOwnSystem(
        [&] { EXPECT_EQ(action == Action::down ? lowered : leftUp, thirdCycle(history, true)); });
}

TEST(BusyFlagControl, actsOnEachOfTheEightHistoriesAsTheTableSays) {
    expectAction({false, false, false}, Action::none);
    expectAction({false, false, true}, Action::up);
    expectAction({false, true, false}, Action::none);
    expectAction({false, true, true}, Action::none);
    expectAction({true, false, false}, Action::down);
    expectAction({true, false, true}, Action::up);
    expectAction({true, true, false}, Action::none);
    expectAction({true, true, true}, Action::none);
}

TEST(BusyFlagControl, oneCycleProbesStoresReadsBackAndSleepsInThisOrder) {
    inOwnSystem([] {
        Status status;
        script().remoteAlive = inTurn({true, false});
        stopAfterSleeps(2);
        EXPECT_FALSE(busyFlagControl(status));
        EXPECT_EQ((Calls{"IsRemoteAlive", "setRemoteAlive true", "isDRBDConnect", "isRemoteAlive",
                         "daemonLog.set " + created, "sleep 5",  //
                         "IsRemoteAlive", "setRemoteAlive false", "isDRBDConnect", "isRemoteAlive",
                         "sleep 5"}),
                  script().calls);
        EXPECT_EQ(2, script().made["IsRemoteAlive"]);
    });
}

TEST(BusyFlagControl, drbdIsStoredAtEveryCycleBeforeTheSampleIsFormed) {
    inOwnSystem([] {
        Status status;
        script().drbdConnected = inTurn({true, false, true});
        std::vector<bool> seen;
        script().readAliveBack = [&](bool stored) {
            seen.push_back(status.drbdConnected);
            return stored;
        };
        stopAfterSleeps(3);
        busyFlagControl(status);
        EXPECT_EQ((std::vector<bool>{true, false, true}), seen);
    });
}

TEST(BusyFlagControl, peerNotAliveButDrbdConnectedCountsAsInReach) {
    inOwnSystem([] {
        script().drbdConnected = inTurn({false, true, true, false, false});
        EXPECT_EQ((std::vector<Cycle>{leftDown, raised, leftUp, leftUp, lowered}),
                  runCycles(std::vector<bool>(5, false)));
    });
}

TEST(BusyFlagControl, alivePeerWithoutDrbdIsInReachAndDrbdIsAskedAllTheSame) {
    inOwnSystem([] {
        EXPECT_EQ((std::vector<Cycle>{raised, leftUp}), runCycles({true, true}));
        EXPECT_EQ(2U, script().count("isDRBDConnect"));
    });
}

TEST(BusyFlagControl, sampleIsWhatTheStatusReadsBackAndNotWhatTheProbeSaid) {
    inOwnSystem([] {
        script().readAliveBack = inTurn({false, true, true});
        EXPECT_EQ((std::vector<Cycle>{leftDown, raised, leftUp}), runCycles({true, false, false}));
    });
}

TEST(BusyFlagControl, flagThatAnotherProgramRemovedIsRaisedOnlyWhenThePeerComesBack) {
    inOwnSystem([] {
        Status status;
        script().remoteAlive = inTurn({true, true, true, false, true});
        std::vector<bool> isUp;
        onSleep([&isUp](unsigned int) {
            isUp.push_back(exists(busyFlag));
            if (isUp.size() == 1) {
                ::unlink(busyFlag);
            }
        });
        stopAfterSleeps(5);
        busyFlagControl(status);
        EXPECT_EQ((std::vector<bool>{true, false, false, false, true}), isUp);
    });
}

TEST(BusyFlagControl, historyOutlivesTheRoutine) {
    inOwnSystem([] {
        EXPECT_EQ((std::vector<Cycle>{raised}), runCycles({true}));
        EXPECT_EQ((std::vector<Cycle>{leftUp, lowered}), runCycles({false, false}));
    });
}

TEST(BusyFlagControl, stoppingFinishesTheCycleWithItsSleepAndLeavesTheFlag) {
    inOwnSystem([] {
        Status status;
        script().remoteAlive = [] {
            stopRunning();
            return true;
        };
        EXPECT_FALSE(busyFlagControl(status));
        EXPECT_EQ("sleep 5", script().calls.back());
        EXPECT_EQ(1U, script().count("IsRemoteAlive"));
        EXPECT_TRUE(exists(busyFlag));
    });
}

TEST(BusyFlagControl, flagThatIsAlreadyClearReturnsFalseAtOnceWithoutACycle) {
    inOwnSystem([] {
        Status status;
        TEST_setRunning(false);
        EXPECT_FALSE(busyFlagControl(status));
        EXPECT_EQ(Calls{}, script().calls);
    });
}

TEST(BusyFlagControl, intervalOfZeroDoesNotPauseBetweenCycles) {
    inOwnSystem([] {
        configure(R"({"BASE_INTERVAL_BUSY_FLAG": 0})");
        runCycles({true, true});
        EXPECT_EQ((Calls{"sleep 0", "sleep 0"}), script().callsOf({"sleep"}));
    });
}

TEST(BusyFlagControl, intervalIsReadAfreshEachCycle) {
    inOwnSystem([] {
        Status status;
        onSleep([](unsigned int) { configure(R"({"BASE_INTERVAL_BUSY_FLAG": 8})"); });
        stopAfterSleeps(2);
        busyFlagControl(status);
        EXPECT_EQ((Calls{"sleep 5", "sleep 8"}), script().callsOf({"sleep"}));
    });
}

}  // namespace
}  // namespace KORA::HA::Daemon
