// SPDX-License-Identifier: Apache-2.0
#include "monitor/heartbeat_monitors.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>

#include "tests/daemon/support/calls.h"
#include "tests/daemon/support/own_system.h"
#include "tests/scripted/script.h"

namespace KORA::HA::Daemon {
namespace {

using namespace koraha::test;

const std::string tool = "/var/packages/Twinhold/target/sbin/koraha 187 --notify ";
const std::string tooSlow = "koraharemotemond:331 [Latency Fail] Heartbeat too slow: ";
const std::string tooLossy = "koraharemotemond:365 [Packet Fail] Heartbeat packet loss: ";
const std::string latencyIsNormal = "koraharemotemond:323 Heartbeat latency returns to normal";
const std::string packetsAreNormal = "koraharemotemond:357 Heartbeat packet ";
const std::string latencyNotNotified =
    "koraharemotemond:337 Failed to send notify when hearbeat latency slow";
const std::string packetsNotNotified =
    "koraharemotemond:371 Failed to send notify when hearbeat packet drop";

constexpr float nan = std::numeric_limits<float>::quiet_NaN();

void latencies(Status& status, std::initializer_list<float> samples) {
    for (const float sample : samples) {
        status.hbLatency = sample;
        monitorLatency(status);
    }
}

void rates(Status& status, std::initializer_list<float> samples) {
    for (const float sample : samples) {
        status.netNonOkRate = sample;
        monitorInterface(status);
    }
}

class HeartbeatMonitors : public testing::Test {
  protected:
    void latencies(std::initializer_list<float> samples) { Daemon::latencies(status, samples); }
    void rates(std::initializer_list<float> samples) { Daemon::rates(status, samples); }

    Status status;
};

TEST_F(HeartbeatMonitors, fourthFreshSampleOverTheThresholdLogsAndNotifies) {
    latencies({150, 160, 170});
    EXPECT_EQ(Calls{}, script().calls);
    latencies({180});
    EXPECT_EQ((Calls{"daemonLog.set " + tooSlow + "180.000000",
                     "VLIBCExecl " + tool + "heartbeat-latency 180.000000"}),
              script().calls);
}

TEST_F(HeartbeatMonitors, fourthFreshRateOverTheThresholdLogsAndNotifies) {
    rates({0.5F, 0.25F, 0.125F});
    EXPECT_EQ(Calls{}, script().calls);
    rates({0.75F});
    EXPECT_EQ((Calls{"daemonLog.set " + tooLossy + "0.750000",
                     "VLIBCExecl " + tool + "heartbeat-pkt-drop 0.750000"}),
              script().calls);
}

TEST_F(HeartbeatMonitors, sampleEqualToTheThresholdCountsAsOver) {
    latencies({100, 101, 102, 100});
    EXPECT_EQ(1U, script().toolCalls.size());
}

TEST_F(HeartbeatMonitors, rateEqualToTheThresholdCountsAsOver) {
    rates({0.002F, 0.001F, 0.002F, 0.001F});
    EXPECT_EQ(Calls{tool + "heartbeat-pkt-drop 0.001000"}, script().toolCalls);
}

TEST_F(HeartbeatMonitors, samplesJustBelowTheThresholdAreNormal) {
    const float below = std::nextafter(100.0F, 0.0F);
    latencies({below, 99.5F, below, 99.5F, below, 99.5F});
    const float belowRate = std::nextafter(0.001F, 0.0F);
    rates({belowRate, 0.0005F, belowRate, 0.0005F, belowRate, 0.0005F});
    EXPECT_EQ(Calls{}, script().calls);
}

TEST_F(HeartbeatMonitors, sameValueStoredTwiceInARowIsJudgedOnce) {
    latencies({150, 150, 160, 160, 170, 170});
    rates({0.5F, 0.5F, 0.25F, 0.25F, 0.125F, 0.125F});
    EXPECT_EQ(Calls{}, script().calls);
    latencies({180});
    rates({0.5F});
    EXPECT_EQ(2U, script().toolCalls.size());
}

TEST_F(HeartbeatMonitors, frozenValueNeverReachesTheToleranceByItself) {
    for (int i = 0; i < 1000; ++i) {
        latencies({150});
        rates({0.5F});
    }
    EXPECT_EQ(Calls{}, script().calls);
}

TEST_F(HeartbeatMonitors, normalSampleClearsTheCountSilentlyAndTheFourthAfterItNotifies) {
    latencies({150, 160, 50, 170, 180, 190});
    EXPECT_EQ(Calls{}, script().calls);
    latencies({200});
    EXPECT_EQ(Calls{tooSlow + "200.000000"}, script().logLines);
}

TEST_F(HeartbeatMonitors, unchangedNormalSampleClearsNothing) {
    latencies({50, 150, 160, 170});
    status.hbLatency = 170;
    monitorLatency(status);
    latencies({180});
    EXPECT_EQ(1U, script().toolCalls.size());
}

TEST_F(HeartbeatMonitors, valueThatReturnsAfterANormalOneIsFreshAgain) {
    latencies({150, 50, 150, 160, 150, 160});
    EXPECT_EQ(Calls{tooSlow + "160.000000"}, script().logLines);
}

TEST_F(HeartbeatMonitors,
       afterANotificationNothingHappensUntilANormalSampleAndThenItNotifiesAgain) {
    latencies({150, 151, 152, 153, 154, 155, 156, 157, 158});
    EXPECT_EQ(Calls{tooSlow + "153.000000"}, script().logLines);
    latencies({50, 51, 52});
    EXPECT_EQ((Calls{tooSlow + "153.000000", latencyIsNormal}), script().logLines);
    EXPECT_EQ(1U, script().toolCalls.size());
    latencies({150, 151, 152});
    EXPECT_EQ(2U, script().logLines.size());
    latencies({153});
    EXPECT_EQ((Calls{tooSlow + "153.000000", latencyIsNormal, tooSlow + "153.000000"}),
              script().logLines);
    EXPECT_EQ(2U, script().toolCalls.size());
}

TEST_F(HeartbeatMonitors,
       afterAPacketNotificationTheRecoveryEndsWithABlankAndTheNextNotifiesAgain) {
    rates({0.1F, 0.2F, 0.3F, 0.5F, 0.4F, 0.0F, 0.1F, 0.2F, 0.3F, 0.25F});
    EXPECT_EQ((Calls{tooLossy + "0.500000", packetsAreNormal, tooLossy + "0.250000"}),
              script().logLines);
    EXPECT_EQ(2U, script().toolCalls.size());
}

TEST_F(HeartbeatMonitors, failedToolIsLoggedAndTriedAgainAtTheNextFreshSampleOverTheThreshold) {
    script().toolResult = inTurn({-1, -1, 0});
    latencies({150, 151, 152, 153, 153, 154, 155, 156});
    const std::string call = "VLIBCExecl " + tool + "heartbeat-latency ";
    EXPECT_EQ(
        (Calls{"daemonLog.set " + tooSlow + "153.000000", call + "153.000000",
               "daemonLog.set " + latencyNotNotified, "daemonLog.set " + tooSlow + "154.000000",
               call + "154.000000", "daemonLog.set " + latencyNotNotified,
               "daemonLog.set " + tooSlow + "155.000000", call + "155.000000"}),
        script().calls);
}

TEST_F(HeartbeatMonitors, failedPacketNotificationIsLoggedWithItsOwnText) {
    script().toolResult = always(-1);
    rates({0.1F, 0.2F, 0.3F, 0.5F});
    EXPECT_EQ((Calls{tooLossy + "0.500000", packetsNotNotified}), script().logLines);
}

TEST_F(HeartbeatMonitors, episodeThatWasNeverNotifiedEndsSilently) {
    script().toolResult = always(-1);
    latencies({150, 151, 152, 153});
    script().forgetCalls();
    latencies({50, 150, 151, 152});
    EXPECT_EQ(Calls{}, script().calls);
}

TEST_F(HeartbeatMonitors, whateverTheToolItselfReportsIsSuccess) {
    script().toolResult = inTurn({1, 127, 137, -2});
    for (int episode = 0; episode < 4; ++episode) {
        latencies({150, 151, 152, 153, 154, 50});
    }
    EXPECT_EQ(4U, script().toolCalls.size());
    EXPECT_EQ(8U, script().logLines.size());
}

TEST_F(HeartbeatMonitors, nanIsFreshEachTimeAndOverTheThreshold) {
    latencies({nan, nan, nan, nan});
    EXPECT_EQ(Calls{tooSlow + "nan"}, script().logLines);
    EXPECT_EQ(Calls{tool + "heartbeat-latency nan"}, script().toolCalls);
}

TEST_F(HeartbeatMonitors, infinityIsOverTheThreshold) {
    latencies({150, 151, 152, std::numeric_limits<float>::infinity()});
    EXPECT_EQ(Calls{tooSlow + "inf"}, script().logLines);
}

TEST_F(HeartbeatMonitors, sampleOfExactlyZeroOnTheFirstCallIsNotJudged) {
    inOwnSystem([] {
        configure(R"({"TOLERANCE_TIMES_OF_HB_LATENCY": 0, "THR_OF_HB_LATENCY": 0,
                      "TOLERANCE_TIMES_OF_PKT_DROP": 0, "THR_OF_HB_PKT_DROP": 0})");
        Status own;
        Daemon::latencies(own, {0.0F, -0.0F});
        Daemon::rates(own, {0.0F, -0.0F});
        EXPECT_EQ(Calls{}, script().calls);
        Daemon::latencies(own, {1.0F, 0.0F});
        EXPECT_EQ(Calls{tooSlow + "1.000000"}, script().logLines);
    });
}

TEST_F(HeartbeatMonitors, monitorsShareNothing) {
    latencies({150, 160, 170});
    rates({150, 160, 170});
    EXPECT_EQ(Calls{}, script().calls);
    rates({180});
    latencies({180});
    EXPECT_EQ((Calls{tooLossy + "180.000000", tooSlow + "180.000000"}), script().logLines);
    rates({0});
    latencies({190});
    EXPECT_EQ(packetsAreNormal, script().logLines.back());
    EXPECT_EQ(3U, script().logLines.size());
}

TEST_F(HeartbeatMonitors, sampleIsWrittenWithSixDecimalsAsTheFloatThatItIs) {
    latencies({150, 151, 152, 123.5F, 50, 150, 151, 152, 100.1F});
    EXPECT_EQ((Calls{tool + "heartbeat-latency 123.500000", tool + "heartbeat-latency 100.099998"}),
              script().toolCalls);
}

// As a double 100.1 lies above the float nearest to it, which is what the sample holds.
TEST_F(HeartbeatMonitors, thresholdIsComparedAsAFloat) {
    inOwnSystem([] {
        configure(R"({"THR_OF_HB_LATENCY": 100.1, "TOLERANCE_TIMES_OF_HB_LATENCY": 0,
                      "THR_OF_HB_PKT_DROP": 0.7, "TOLERANCE_TIMES_OF_PKT_DROP": 0})");
        Status own;
        Daemon::latencies(own, {100.1F});
        Daemon::rates(own, {0.7F});
        EXPECT_EQ((Calls{tooSlow + "100.099998", tooLossy + "0.700000"}), script().logLines);
    });
}

TEST_F(HeartbeatMonitors, toleranceOfZeroMakesTheFirstFreshSampleNotify) {
    inOwnSystem([] {
        configure(R"({"TOLERANCE_TIMES_OF_HB_LATENCY": 0, "TOLERANCE_TIMES_OF_PKT_DROP": 0})");
        Status own;
        Daemon::latencies(own, {150});
        Daemon::rates(own, {0.5F});
        EXPECT_EQ(2U, script().toolCalls.size());
    });
}

TEST_F(HeartbeatMonitors, negativeToleranceMakesTheFirstFreshSampleNotify) {
    inOwnSystem([] {
        configure(R"({"TOLERANCE_TIMES_OF_HB_LATENCY": -5, "TOLERANCE_TIMES_OF_PKT_DROP": -5})");
        Status own;
        Daemon::latencies(own, {150, 151, 50, 152});
        Daemon::rates(own, {0.5F, 0.25F});
        EXPECT_EQ(
            (Calls{tool + "heartbeat-latency 150.000000", tool + "heartbeat-latency 152.000000",
                   tool + "heartbeat-pkt-drop 0.500000"}),
            script().toolCalls);
    });
}

TEST_F(HeartbeatMonitors, settingsOfTheTwoMonitorsAreTheirOwn) {
    inOwnSystem([] {
        configure(R"({"THR_OF_HB_LATENCY": 10, "TOLERANCE_TIMES_OF_HB_LATENCY": 1,
                      "THR_OF_HB_PKT_DROP": 0.5, "TOLERANCE_TIMES_OF_PKT_DROP": 2})");
        Status own;
        Daemon::latencies(own, {9, 11, 12});
        Daemon::rates(own, {0.4F, 0.6F, 0.7F, 0.5F});
        EXPECT_EQ((Calls{tooSlow + "12.000000", tooLossy + "0.500000"}), script().logLines);
    });
}

// The configuration is loaded once in the daemon; here it changes between two calls.
TEST_F(HeartbeatMonitors, toleranceIsReadAtTheFirstCallOnlyAndTheThresholdAtEachJudgedSample) {
    inOwnSystem([] {
        configure(R"({"TOLERANCE_TIMES_OF_HB_LATENCY": 1, "THR_OF_HB_LATENCY": 100,
                      "TOLERANCE_TIMES_OF_PKT_DROP": 1, "THR_OF_HB_PKT_DROP": 0.1})");
        Status own;
        Daemon::latencies(own, {0});  // the first call, though nothing is judged
        Daemon::rates(own, {0});
        configure(R"({"TOLERANCE_TIMES_OF_HB_LATENCY": 5, "THR_OF_HB_LATENCY": 200,
                      "TOLERANCE_TIMES_OF_PKT_DROP": 5, "THR_OF_HB_PKT_DROP": 0.2})");
        Daemon::latencies(own, {150, 151, 152, 200, 201});
        Daemon::rates(own, {0.15F, 0.16F, 0.17F, 0.2F, 0.3F});
        EXPECT_EQ((Calls{tooSlow + "201.000000", tooLossy + "0.300000"}), script().logLines);
        configure(R"({"THR_OF_HB_LATENCY": 300})");
        Daemon::latencies(own, {202});
        EXPECT_EQ(latencyIsNormal, script().logLines.back());
    });
}

}  // namespace
}  // namespace KORA::HA::Daemon
