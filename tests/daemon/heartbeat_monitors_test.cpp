#include "monitor/heartbeat_monitors.h"

#include <gtest/gtest.h>

#include <limits>

#include "tests/scripted/script.h"

namespace KORA::HA::Daemon {
namespace {

const std::string tool = "/var/packages/Twinhold/target/sbin/koraha 187 --notify ";

class HeartbeatMonitors : public testing::Test {
  protected:
    void latencies(std::initializer_list<float> samples) {
        for (const float sample : samples) {
            status.hbLatency = sample;
            monitorLatency(status);
        }
    }

    Status status;
};

TEST_F(HeartbeatMonitors, fourthFreshSampleOverTheThresholdLogsAndNotifies) {
    latencies({150, 160, 170});
    EXPECT_TRUE(script().logLines.empty());
    latencies({180});
    ASSERT_EQ(1U, script().logLines.size());
    EXPECT_EQ("koraharemotemond:331 [Latency Fail] Heartbeat too slow: 180.000000",
              script().logLines[0]);
    ASSERT_EQ(1U, script().toolCalls.size());
    EXPECT_EQ(tool + "heartbeat-latency 180.000000", script().toolCalls[0]);
}

TEST_F(HeartbeatMonitors, sampleEqualToTheThresholdCountsAsOver) {
    latencies({100, 101, 102, 100});
    EXPECT_EQ(1U, script().toolCalls.size());
}

TEST_F(HeartbeatMonitors, sameValueTwiceIsJudgedOnce) {
    latencies({150, 150, 150, 150, 150, 150});
    EXPECT_TRUE(script().toolCalls.empty());
}

TEST_F(HeartbeatMonitors, normalSampleClearsTheCount) {
    latencies({150, 160, 50, 170, 180, 190});
    EXPECT_TRUE(script().toolCalls.empty());
    latencies({200});
    EXPECT_EQ(1U, script().toolCalls.size());
}

TEST_F(HeartbeatMonitors, recoveryIsLoggedOnceAndTheNextEpisodeNotifiesAgain) {
    latencies({150, 151, 152, 153, 154, 155, 50, 51, 150, 151, 152, 153});
    ASSERT_EQ(3U, script().logLines.size());
    EXPECT_EQ("koraharemotemond:323 Heartbeat latency returns to normal", script().logLines[1]);
    EXPECT_EQ(2U, script().toolCalls.size());
}

TEST_F(HeartbeatMonitors, failedToolIsTriedAgainAtTheNextFreshSample) {
    script().toolResult = always(-1);
    latencies({150, 151, 152, 153});
    ASSERT_EQ(2U, script().logLines.size());
    EXPECT_EQ("koraharemotemond:337 Failed to send notify when hearbeat latency slow",
              script().logLines[1]);
    script().toolResult = always(1);  // whatever the tool itself reports is success
    latencies({154, 155});
    EXPECT_EQ(2U, script().toolCalls.size());
}

TEST_F(HeartbeatMonitors, nanIsFreshEachTimeAndOverTheThreshold) {
    const float nan = std::numeric_limits<float>::quiet_NaN();
    latencies({nan, nan, nan, nan});
    EXPECT_EQ(1U, script().toolCalls.size());
}

TEST_F(HeartbeatMonitors, zeroOnTheFirstCallIsNotJudged) {
    latencies({0, 150, 151, 152});
    EXPECT_TRUE(script().toolCalls.empty());
}

TEST_F(HeartbeatMonitors, packetLossUsesItsOwnTextsAndState) {
    latencies({150, 160, 170});
    for (const float rate : {0.5F, 0.25F, 0.125F, 0.001F, 0.0F}) {
        status.netNonOkRate = rate;
        monitorInterface(status);
    }
    ASSERT_EQ(2U, script().logLines.size());
    EXPECT_EQ("koraharemotemond:365 [Packet Fail] Heartbeat packet loss: 0.001000",
              script().logLines[0]);
    EXPECT_EQ("koraharemotemond:357 Heartbeat packet ", script().logLines[1]);
    EXPECT_EQ(tool + "heartbeat-pkt-drop 0.001000", script().toolCalls.at(0));
}

}  // namespace
}  // namespace KORA::HA::Daemon
