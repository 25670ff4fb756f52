// SPDX-License-Identifier: Apache-2.0
#include <algorithm>
#include <exception>

#include "hasupport/io/notice.h"
#include "hasupport/local_probes.h"
#include "hasupport/probe/drbd_process.h"
#include "hasupport/status/flag_changes.h"
#include "hasupport/status/readings.h"

namespace KORA::HA::Daemon {
namespace {

constinit support::Notice unreadable;

}  // namespace

bool isDRBDConnect() try {
    const support::DrbdView drbd = support::lookAtDrbd();
    if (drbd.answer == support::DrbdView::Answer::unknown) {
        unreadable.raise("cannot tell whether DRBD is connected: " + drbd.reason);
        support::noteFailed(support::Reading::drbdConnected, drbd.reason);
        return false;
    }
    unreadable.clear("the state of DRBD can be told again");
    const bool connected =
        std::any_of(drbd.resources.begin(), drbd.resources.end(),
                    [](const support::DrbdResource& each) { return each.established; });
    support::noteFlag(support::Reading::drbdConnected, connected);
    return connected;
} catch (const std::exception& failure) {
    support::noteFailed(support::Reading::drbdConnected, failure.what());
    return false;
}

}  // namespace KORA::HA::Daemon
