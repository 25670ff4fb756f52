// SPDX-License-Identifier: Apache-2.0
#include <unistd.h>

#include <string>

#include "config/int_daemon_conf.h"
#include "log/running_flag.h"
#include "monitor/check_loops.h"
#include "monitor/heartbeat_monitors.h"
#include "monitor/interval.h"
#include "monitor/remote_disk_watch.h"

namespace KORA::HA::Daemon {
namespace {

bool isDue(ConfType restSetting, const std::string& task) {
    return doTaskByIntervals(static_cast<unsigned int>(GetInt(restSetting)), task);
}

}  // namespace

bool monitorEnv(Status& status) {
    while (isRunning()) {
        if (isDue(NUM_OF_REST_MON_HB_LATENCY, "monitor_latency")) {
            monitorLatency(status);
        }
        if (isDue(NUM_OF_REST_MON_PKT_DROP, "monitor_packet_loss")) {
            monitorInterface(status);
        }
        if (status.isRemoteAlive()) {
            monitorRemoetDiskErrHandling(status);
        }
        sleep(static_cast<unsigned int>(checkInterval()));
    }
    return false;
}

}  // namespace KORA::HA::Daemon
