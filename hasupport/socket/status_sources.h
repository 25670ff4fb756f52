// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "hasupport/peer/restart_record.h"

namespace KORA::HA::Daemon::support {

/// Where a status reply takes from what is not in the health record itself. The default is this
/// node; tests put in what they like.
struct StatusSources {
    StatusSources();

    std::string roleMarker = "/tmp/ha_role_active";
    std::function<std::vector<std::string>()> constraints;
    std::function<std::optional<RestartRecord>()> lastRestart;
    /// Names of the md arrays that miss a member; nothing when that cannot be read.
    std::function<std::optional<std::vector<std::string>>()> degradedArrays;
};

}  // namespace KORA::HA::Daemon::support
