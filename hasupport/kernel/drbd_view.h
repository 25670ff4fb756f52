// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "hasupport/io/kernel_roots.h"
#include "hasupport/kernel/drbd_resource.h"
#include "hasupport/kernel/drbdsetup.h"

namespace KORA::HA::Daemon::support {

/// What this node's DRBD says of itself.
struct DrbdView {
    enum class Answer : std::uint8_t {
        noModule,  ///< DRBD is not loaded
        known,     ///< `resources` is all that is configured, possibly nothing
        unknown,   ///< it could not be found out, because of `reason`
    };
    Answer answer = Answer::unknown;
    std::string reason;
    std::vector<DrbdResource> resources;
    bool fromDrbdsetup = false;  ///< which was asked because /proc/drbd does not tell
};

/// What /proc/drbd tells; nothing where that is DRBD 9's, which only `drbdsetup` tells more of.
std::optional<DrbdView> readDrbdFile(const KernelRoots& roots);

/// Reads /proc/drbd, and asks `drbdsetup` where that is DRBD 9's. `peerAddress` as for
/// parseDrbdEvents.
DrbdView readDrbd(const KernelRoots& roots, Drbdsetup& drbdsetup, std::string_view peerAddress);

}  // namespace KORA::HA::Daemon::support
