// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace KORA::HA::Daemon::support {

/// The names in a directory that begin with `prefix`, sorted, without hidden ones; at most 4096.
/// Nothing when it cannot be read (errno tells why).
std::optional<std::vector<std::string>> listDirectory(const std::string& path,
                                                      std::string_view prefix = {});

/// The last component of a path.
std::string_view baseName(std::string_view path);

/// What the link itself says; empty when there is none.
std::string linkTarget(const std::string& path);

/// Where `path` leads with all its links followed; empty when it leads nowhere.
std::string realPath(const std::string& path);

}  // namespace KORA::HA::Daemon::support
