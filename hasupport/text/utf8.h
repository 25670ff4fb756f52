// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>
#include <string_view>

namespace KORA::HA::Daemon::support {

/// Length in bytes (1 to 4) of the well-formed UTF-8 character that the text begins with; 0 when it
/// begins with none (stray, overlong, surrogate, cut off) or is empty.
std::size_t utf8Length(std::string_view text);

}  // namespace KORA::HA::Daemon::support
