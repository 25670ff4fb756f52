// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <optional>
#include <string_view>
#include <vector>

#include "hasupport/kernel/md_array.h"

namespace KORA::HA::Daemon::support {

/// Parses /proc/mdstat. Unknown lines are normal; nothing when its first or its last line is
/// missing. A repair cannot be told from a resync here.
std::optional<std::vector<MdArray>> parseMdstat(std::string_view text);

}  // namespace KORA::HA::Daemon::support
