// SPDX-License-Identifier: Apache-2.0
#include <gtest/gtest.h>

#include "log/running_flag.h"
#include "monitor/check_loops.h"
#include "monitor/interval.h"
#include "tests/daemon/support/calls.h"
#include "tests/daemon/support/own_system.h"
#include "tests/daemon/support/virtual_time.h"
#include "tests/scripted/script.h"

namespace KORA::HA::Daemon {
namespace {

using namespace koraha::test;

const std::string tooSlow = "koraharemotemond:331 [Latency Fail] Heartbeat too slow: ";
const std::string tooLossy = "koraharemotemond:365 [Packet Fail] Heartbeat packet loss: ";

// Every pass has a sample of its own, 1000 plus its number, over both thresholds; nothing is
// tolerated and the tool fails, so that every judged sample logs itself.
void everyJudgedSampleShows(Status& status) {
    script().toolResult = always(-1);
    status.hbLatency = 1001.0F;
    status.netNonOkRate = 1001.0F;
    onSleep([&status, pass = 1](unsigned int) mutable {
        ++pass;
        status.hbLatency = static_cast<float>(1000 + pass);
        status.netNonOkRate = static_cast<float>(1000 + pass);
    });
}

void runPasses(Status& status, int passes, bool alive) {
    status.setRemoteAlive(alive);
    script().forgetCalls();
    stopAfterSleeps(passes);
    EXPECT_FALSE(monitorEnv(status));
}

std::vector<int> passesThatLogged(const std::string& message) {
    std::vector<int> passes;
    for (const std::string& line : script().logLines) {
        if (line.rfind(message, 0) == 0) {
            passes.push_back(static_cast<int>(std::stof(line.substr(message.size()))) - 1000);
        }
    }
    return passes;
}

TEST(MonitorEnv, monitorLatencyRunsOnPasses1And6And11AndMonitorInterfaceOn1And242And483) {
    inOwnSystem([] {
        configure(R"({"TOLERANCE_TIMES_OF_HB_LATENCY": 0, "TOLERANCE_TIMES_OF_PKT_DROP": 0})");
        Status status;
        everyJudgedSampleShows(status);
        runPasses(status, 600, false);
        std::vector<int> everyFifth;
        for (int pass = 1; pass <= 600; pass += 5) {
            everyFifth.push_back(pass);
        }
        EXPECT_EQ(everyFifth, passesThatLogged(tooSlow));
        EXPECT_EQ((std::vector<int>{1, 242, 483}), passesThatLogged(tooLossy));
    });
}

TEST(MonitorEnv, restsComeFromTheirOwnSettings) {
    inOwnSystem([] {
        configure(R"({"TOLERANCE_TIMES_OF_HB_LATENCY": 0, "TOLERANCE_TIMES_OF_PKT_DROP": 0,
                      "NUM_OF_REST_MON_HB_LATENCY": 2, "NUM_OF_REST_MON_PKT_DROP": 3})");
        Status status;
        everyJudgedSampleShows(status);
        runPasses(status, 9, true);
        EXPECT_EQ((std::vector<int>{1, 4, 7}), passesThatLogged(tooSlow));
        EXPECT_EQ((std::vector<int>{1, 5, 9}), passesThatLogged(tooLossy));
    });
}

TEST(MonitorEnv, negativeRestsRunTheMonitorsOnceAndPracticallyNeverAgain) {
    inOwnSystem([] {
        configure(R"({"TOLERANCE_TIMES_OF_HB_LATENCY": 0, "TOLERANCE_TIMES_OF_PKT_DROP": 0,
                      "NUM_OF_REST_MON_HB_LATENCY": -1, "NUM_OF_REST_MON_PKT_DROP": -1})");
        Status status;
        everyJudgedSampleShows(status);
        runPasses(status, 5000, true);
        EXPECT_EQ(std::vector<int>{1}, passesThatLogged(tooSlow));
        EXPECT_EQ(std::vector<int>{1}, passesThatLogged(tooLossy));
    });
}

TEST(MonitorEnv, eachTaskIsCountedUnderItsName) {
    inOwnSystem([] {
        configure(R"({"NUM_OF_REST_MON_HB_LATENCY": 9, "NUM_OF_REST_MON_PKT_DROP": 0})");
        Status status;
        runPasses(status, 3, true);  // they count 2 and 0 now
        EXPECT_FALSE(doTaskByIntervals(3, "monitor_latency"));
        EXPECT_TRUE(doTaskByIntervals(3, "monitor_latency"));
        EXPECT_FALSE(doTaskByIntervals(1, "monitor_packet_loss"));
        EXPECT_TRUE(doTaskByIntervals(1, "monitor_packet_loss"));
    });
}

TEST(MonitorEnv, onePassRunsLatencyThenPacketsThenTheDisksThenSleeps) {
    inOwnSystem([] {
        configure(R"({"TOLERANCE_TIMES_OF_HB_LATENCY": 0, "TOLERANCE_TIMES_OF_PKT_DROP": 0})");
        Status status;
        everyJudgedSampleShows(status);
        script().toolResult = always(0);
        status.setErrHandlingDiskRemote(jsonList({"sda"}));
        status.remoteDiskErrHandling = true;
        runPasses(status, 1, true);
        const std::string tool =
            "VLIBCExecl /var/packages/Twinhold/target/sbin/koraha 187 --notify ";
        EXPECT_EQ(
            (Calls{"daemonLog.set " + tooSlow + "1001.000000",
                   tool + "heartbeat-latency 1001.000000",
                   "daemonLog.set " + tooLossy + "1001.000000",
                   tool + "heartbeat-pkt-drop 1001.000000", "isRemoteAlive",
                   "getErrHandlingDiskRemote",
                   "daemonLog.set koraharemotemond:405 [Disks Error Handling] Remote disk error "
                   "handling(1): sda",
                   "sleep 15"}),
            script().calls);
    });
}

TEST(MonitorEnv, disksAreWatchedOnEveryPassInWhichThePeerIsAlive) {
    inOwnSystem([] {
        Status status;
        status.setErrHandlingDiskRemote(jsonList({"sda"}));
        status.remoteDiskErrHandling = true;
        script().readAliveBack = inTurn({true, true, false, false, true, false});
        runPasses(status, 6, true);
        EXPECT_EQ((Calls{"sleep 15", "sleep 15", "sleep 15", "sleep 15", "sleep 15", "sleep 15"}),
                  script().callsOf({"sleep"}));
        EXPECT_EQ(3U, script().logLines.size());
    });
}

TEST(MonitorEnv, diskCountsNeitherGrowNorDecayWhileThePeerIsNotAlive) {
    inOwnSystem([] {
        Status status;
        status.setErrHandlingDiskRemote(jsonList({"sda"}));
        status.remoteDiskErrHandling = true;
        runPasses(status, 3, true);
        status.remoteDiskErrHandling = false;
        runPasses(status, 50, false);
        status.remoteDiskErrHandling = true;
        runPasses(status, 1, true);
        EXPECT_EQ(
            Calls{"koraharemotemond:405 [Disks Error Handling] Remote disk error handling(4): sda"},
            script().logLines);
    });
}

TEST(MonitorEnv, probesNothingItself) {
    inOwnSystem([] {
        Status status;
        runPasses(status, 2, true);
        EXPECT_EQ(repeated(2, {"isRemoteAlive", "sleep 15"}), script().calls);
    });
}

TEST(MonitorEnv, sleepsTheActiveIntervalWhileTheNodeIsActive) {
    inOwnSystem([] {
        touch(roleMarker);
        Status status;
        runPasses(status, 1, true);
        EXPECT_EQ("sleep 20", script().calls.back());
    });
}

TEST(MonitorEnv, roleThatChangesDuringAPassHoldsForTheSleepOfThatPass) {
    inOwnSystem([] {
        Status status;
        script().readAliveBack = [](bool stored) {
            touch(roleMarker);
            return stored;
        };
        runPasses(status, 1, true);
        EXPECT_EQ("sleep 20", script().calls.back());
    });
}

TEST(MonitorEnv, flagThatIsAlreadyClearReturnsFalseAtOnceWithoutAPass) {
    inOwnSystem([] {
        Status status;
        TEST_setRunning(false);
        EXPECT_FALSE(monitorEnv(status));
        EXPECT_EQ(Calls{}, script().calls);
    });
}

}  // namespace
}  // namespace KORA::HA::Daemon
