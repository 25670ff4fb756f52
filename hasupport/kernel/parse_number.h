// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>
#include <optional>
#include <string_view>

namespace KORA::HA::Daemon::support {

/// The whole of `text` as an unsigned decimal number; nothing when it is anything else or too
/// large.
std::optional<std::uint64_t> parseUnsigned(std::string_view text);

}  // namespace KORA::HA::Daemon::support
