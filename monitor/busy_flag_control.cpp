// SPDX-License-Identifier: Apache-2.0
#include "monitor/busy_flag_control.h"

#include <unistd.h>

#include <deque>

#include "config/int_daemon_conf.h"
#include "hasupport/local_probes.h"
#include "hasupport/remote_probes.h"
#include "log/running_flag.h"
#include "monitor/flag.h"

namespace KORA::HA::Daemon {
namespace {

// In reach: the peer answers, or at least DRBD still talks to it.
bool sampleReach(Status& status) {
    status.setRemoteAlive(IsRemoteAlive()());
    status.drbdConnected = isDRBDConnect();
    return status.isRemoteAlive() || status.drbdConnected;
}

// Raised on the first sample in reach, lowered only on the second one out of reach.
void actOn(const std::deque<bool>& history) {
    const bool before = history.at(0);
    const bool previous = history.at(1);
    const bool current = history.at(2);
    if (!previous && current) {
        Flag(remoteBusyFlagPath).up();
    } else if (before && !previous && !current) {
        Flag(remoteBusyFlagPath).down();
    }
}

}  // namespace

bool busyFlagControl(Status& status) {
    static std::deque<bool> history(2, false);
    while (isRunning()) {
        history.push_back(sampleReach(status));
        actOn(history);
        history.pop_front();
        sleep(static_cast<unsigned int>(GetInt(BASE_INTERVAL_BUSY_FLAG)));
    }
    return false;
}

}  // namespace KORA::HA::Daemon
