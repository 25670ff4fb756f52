// SPDX-License-Identifier: Apache-2.0
#include <gtest/gtest.h>
#include <unistd.h>

#include "log/running_flag.h"
#include "monitor/check_loops.h"
#include "tests/daemon/support/calls.h"
#include "tests/daemon/support/own_system.h"
#include "tests/daemon/support/virtual_time.h"
#include "tests/scripted/script.h"

namespace KORA::HA::Daemon {
namespace {

using namespace koraha::test;

void runPasses(Status& status, int passes, bool alive) {
    status.setRemoteAlive(alive);
    script().forgetCalls();
    stopAfterSleeps(passes);
    EXPECT_FALSE(nonBlockCheck(status));
}

TEST(NonBlockCheck, peerNotAliveStillUpdatesTheLocalStateAndDetailOnEveryPassWithoutRemoteQuery) {
    inOwnSystem([] {
        Status status;
        script().diskErrHandling = reports({"sda"});
        runPasses(status, 3, false);
        const Calls pass = {"setErrHandlingDisk [\"sda\"]", "isRemoteAlive", "sleep 15"};
        EXPECT_EQ(Calls{"isDiskErrHandling []"} + pass +
                      repeated(2, Calls{"isDiskErrHandling [\"sda\"]"} + pass),
                  script().calls);
        EXPECT_TRUE(status.localDiskErrHandling);
    });
}

TEST(NonBlockCheck, alivePeerIsAskedForResyncThenDisksWithAFreshNullValueEachPass) {
    inOwnSystem([] {
        Status status;
        script().remoteDiskErrHandling = reports({"sdb", "sdc"});
        runPasses(status, 3, true);
        EXPECT_EQ(repeated(3, {"isDiskErrHandling []", "setErrHandlingDisk []", "isRemoteAlive",
                               "IsRemoteMDResync", "IsRemoteDiskErrHandling null",
                               "setErrHandlingDiskRemote [\"sdb\",\"sdc\"]", "sleep 15"}),
                  script().calls);
        EXPECT_EQ(3, script().made["IsRemoteMDResync"]);
        EXPECT_EQ(3, script().made["IsRemoteDiskErrHandling"]);
    });
}

TEST(NonBlockCheck, localDetailIsOneArrayThatIsNotClearedBetweenPasses) {
    inOwnSystem([] {
        Status status;
        script().diskErrHandling = [](Json::Value& disks) {
            EXPECT_TRUE(disks.isArray());
            disks.append("sd" + std::to_string(disks.size()));
            return false;
        };
        runPasses(status, 3, false);
        EXPECT_EQ((Calls{"isDiskErrHandling []", "setErrHandlingDisk [\"sd0\"]",
                         "isDiskErrHandling [\"sd0\"]", "setErrHandlingDisk [\"sd0\",\"sd1\"]",
                         "isDiskErrHandling [\"sd0\",\"sd1\"]",
                         "setErrHandlingDisk [\"sd0\",\"sd1\",\"sd2\"]"}),
                  script().callsOf({"isDiskErrHandling", "setErrHandlingDisk "}));
    });
}

TEST(NonBlockCheck, localDetailStartsEmptyWithEachLoop) {
    inOwnSystem([] {
        Status status;
        script().diskErrHandling = reports({"sda"});
        runPasses(status, 1, false);
        runPasses(status, 1, false);
        EXPECT_EQ("isDiskErrHandling []", script().calls.front());
    });
}

TEST(NonBlockCheck, eachFieldFollowsItsOwnProbeAtEveryPass) {
    inOwnSystem([] {
        Status status;
        script().diskErrHandling = inTurn({true, false, false, true, false});
        script().remoteMDResync = inTurn({false, true, false, true, false});
        script().remoteDiskErrHandling = inTurn({false, false, true, true, false});
        std::vector<std::vector<bool>> seen;
        onSleep([&](unsigned int) {
            seen.push_back(
                {status.localDiskErrHandling, status.remoteMDResync, status.remoteDiskErrHandling});
        });
        runPasses(status, 5, true);
        EXPECT_EQ((std::vector<std::vector<bool>>{{true, false, false},
                                                  {false, true, false},
                                                  {false, false, true},
                                                  {true, true, true},
                                                  {false, false, false}}),
                  seen);
        EXPECT_FALSE(status.localMDResync);
        EXPECT_FALSE(status.drbdConnected);
    });
}

TEST(NonBlockCheck, eachValueIsStoredBeforeTheNextProbeIsAsked) {
    inOwnSystem([] {
        Status status;
        script().diskErrHandling = always(true);
        script().remoteMDResync = [&status] {
            EXPECT_TRUE(status.localDiskErrHandling);
            return true;
        };
        script().remoteDiskErrHandling = [&status](Json::Value&) {
            EXPECT_TRUE(status.remoteMDResync);
            return true;
        };
        runPasses(status, 1, true);
        EXPECT_TRUE(status.remoteDiskErrHandling);
    });
}

TEST(NonBlockCheck, remoteFieldsKeepTheirLastValuesWhileThePeerIsNotAlive) {
    inOwnSystem([] {
        Status status;
        script().remoteMDResync = always(true);
        script().remoteDiskErrHandling = reports({"sdb"});
        runPasses(status, 1, true);
        script().remoteMDResync = always(false);
        script().remoteDiskErrHandling = reports({});
        runPasses(status, 5, false);
        EXPECT_TRUE(status.remoteMDResync);
        EXPECT_TRUE(status.remoteDiskErrHandling);
        EXPECT_EQ(jsonList({"sdb"}), status.getErrHandlingDiskRemote());
        EXPECT_EQ(0U, script().count("IsRemote"));
        EXPECT_EQ(0U, script().count("setErrHandlingDiskRemote"));
    });
}

TEST(NonBlockCheck, sleepsTheIntervalOfTheRoleThatTheNodeHasAtThatMoment) {
    inOwnSystem([] {
        Status status;
        onSleep([pass = 0](unsigned int) mutable {
            if (++pass == 2) {
                touch(roleMarker);
            } else if (pass == 4) {
                ::unlink(roleMarker);
            }
        });
        runPasses(status, 5, false);
        EXPECT_EQ((Calls{"sleep 15", "sleep 15", "sleep 20", "sleep 20", "sleep 15"}),
                  script().callsOf({"sleep"}));
    });
}

TEST(NonBlockCheck, roleThatChangesDuringAPassHoldsForTheSleepOfThatPass) {
    inOwnSystem([] {
        Status status;
        script().diskErrHandling = [](Json::Value&) {
            touch(roleMarker);
            return false;
        };
        runPasses(status, 1, false);
        EXPECT_EQ("sleep 20", script().calls.back());
    });
}

TEST(NonBlockCheck, intervalOfZeroRunsThePassesBackToBack) {
    inOwnSystem([] {
        configure(R"({"BASE_INTERVAL_PASSIVE": 0})");
        Status status;
        runPasses(status, 2, false);
        EXPECT_EQ((Calls{"sleep 0", "sleep 0"}), script().callsOf({"sleep"}));
    });
}

TEST(NonBlockCheck, negativeIntervalBecomesAPracticallyEndlessSleep) {
    inOwnSystem([] {
        configure(R"({"BASE_INTERVAL_PASSIVE": -1})");
        Status status;
        runPasses(status, 1, false);
        EXPECT_EQ(Calls{"sleep 4294967295"}, script().callsOf({"sleep"}));
    });
}

TEST(NonBlockCheck, flagThatIsAlreadyClearReturnsFalseAtOnceWithoutAPass) {
    inOwnSystem([] {
        Status status;
        TEST_setRunning(false);
        EXPECT_FALSE(nonBlockCheck(status));
        EXPECT_EQ(Calls{}, script().calls);
    });
}

TEST(NonBlockCheck, flagClearedDuringAPassIsNoticedOnlyAfterTheSleep) {
    inOwnSystem([] {
        Status status;
        script().diskErrHandling = [](Json::Value&) {
            stopRunning();
            return false;
        };
        EXPECT_FALSE(nonBlockCheck(status));
        EXPECT_EQ(Calls{"sleep 15"}, script().callsOf({"sleep"}));
    });
}

}  // namespace
}  // namespace KORA::HA::Daemon
