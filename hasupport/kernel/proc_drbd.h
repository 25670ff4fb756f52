// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>
#include <optional>
#include <string_view>
#include <vector>

#include "hasupport/kernel/drbd_resource.h"

namespace KORA::HA::Daemon::support {

/// /proc/drbd: of DRBD 8.4 the configured minors, of DRBD 9 only the version.
struct ProcDrbd {
    std::uint64_t majorVersion = 0;
    std::vector<DrbdResource> resources;
};

/// Nothing when the text does not begin with the module's version, or lists more minors than are
/// ever kept. Unknown words, fields and lines
/// are normal; a state that is not known is no established connection and no good disk.
std::optional<ProcDrbd> parseProcDrbd(std::string_view text);

}  // namespace KORA::HA::Daemon::support
