// SPDX-License-Identifier: Apache-2.0
#include "hasupport/kernel/drbd_resource.h"

#include <algorithm>
#include <array>

namespace KORA::HA::Daemon::support {

bool isResyncTarget(std::string_view state) {
    // Behind: the peer mirrors deliberately late, so this node lacks its newest writes.
    using namespace std::string_view_literals;
    constexpr std::array targets{"StartingSyncT"sv, "WFBitMapT"sv,   "WFSyncUUID"sv,
                                 "SyncTarget"sv,    "PausedSyncT"sv, "Behind"sv};
    return std::find(targets.begin(), targets.end(), state) != targets.end();
}

}  // namespace KORA::HA::Daemon::support
