// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <sys/types.h>

#include <optional>
#include <string>
#include <string_view>

namespace KORA::HA::Daemon::support {

/// The number of a group in the text of a group file ("name:password:number:members" lines).
std::optional<gid_t> groupNumber(std::string_view groupText, std::string_view name);

/// The same, from the file. The system's own look-up would load further libraries into a process
/// with locked memory and use more stack than its threads have.
std::optional<gid_t> readGroupNumber(const std::string& groupFile, std::string_view name);

}  // namespace KORA::HA::Daemon::support
