// SPDX-License-Identifier: Apache-2.0
#include "hasupport/probe/drbd_process.h"

#include <utility>

#include "hasupport/probe/last_drbd_view.h"
#include "hasupport/settings/link_addresses.h"

namespace KORA::HA::Daemon::support {
namespace {

LastDrbdView& lastAnswer() {
    static LastDrbdView theOne;
    return theOne;
}

}  // namespace

DrbdView lookAtDrbd() {
    DrbdView view = readDrbd(KernelRoots(), processDrbdsetup(), linkAddresses().remote);
    if (view.fromDrbdsetup) {
        lastAnswer().keep(view, SteadyClock::now());
    }
    return view;
}

DrbdView drbdAtHand() {
    auto told = readDrbdFile(KernelRoots());
    return told ? std::move(*told) : lastAnswer().get(SteadyClock::now());
}

}  // namespace KORA::HA::Daemon::support
