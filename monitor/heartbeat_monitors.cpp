// SPDX-License-Identifier: Apache-2.0
#include "monitor/heartbeat_monitors.h"

#include "config/int_daemon_conf.h"
#include "monitor/threshold_monitor.h"

namespace KORA::HA::Daemon {
namespace {

// The texts are matched by other programs: "hearbeat" and the trailing blank stay as they are.
constexpr MonitorTexts latencyTexts = {
    THR_OF_HB_LATENCY,
    "heartbeat-latency",
    323,
    "Heartbeat latency returns to normal",
    331,
    "[Latency Fail] Heartbeat too slow: ",
    337,
    "Failed to send notify when hearbeat latency slow",
};

constexpr MonitorTexts packetTexts = {
    THR_OF_HB_PKT_DROP,
    "heartbeat-pkt-drop",
    357,
    "Heartbeat packet ",
    365,
    "[Packet Fail] Heartbeat packet loss: ",
    371,
    "Failed to send notify when hearbeat packet drop",
};

}  // namespace

void monitorLatency(Status& status) {
    static ThresholdMonitor monitor(latencyTexts, GetInt(TOLERANCE_TIMES_OF_HB_LATENCY));
    monitor.judge(status.hbLatency);
}

void monitorInterface(Status& status) {
    static ThresholdMonitor monitor(packetTexts, GetInt(TOLERANCE_TIMES_OF_PKT_DROP));
    monitor.judge(status.netNonOkRate);
}

}  // namespace KORA::HA::Daemon
