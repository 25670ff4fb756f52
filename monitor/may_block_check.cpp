// SPDX-License-Identifier: Apache-2.0
#include <unistd.h>

#include "config/int_daemon_conf.h"
#include "hasupport/interface_checker.h"
#include "hasupport/local_probes.h"
#include "log/log_line.h"
#include "log/running_flag.h"
#include "monitor/check_loops.h"
#include "monitor/interval.h"

namespace KORA::HA::Daemon {
namespace {

constexpr int rateFailedLine = 268;

void checkInterface(Status& status, InterfaceChecker& checker, float& rate) {
    if (checker.networkNonOkRate(rate)) {
        status.netNonOkRate = rate;
    } else {
        logMessage(rateFailedLine, "Failed to get network interface fail rate");
    }
}

}  // namespace

bool mayBlockCheck(Status& status) {
    InterfaceChecker checker;
    float rate = 0.0F;
    while (isRunning()) {
        if (status.isRemoteAlive()) {
            status.hbLatency = heartbeatLatency();
            const auto rest = static_cast<unsigned int>(GetInt(NUM_OF_REST_NETWORK));
            if (doTaskByIntervals(rest, "interface_check")) {
                checkInterface(status, checker, rate);
            }
        }
        status.localMDResync = isMDResync();
        sleep(static_cast<unsigned int>(checkInterval()));
    }
    return false;
}

}  // namespace KORA::HA::Daemon
