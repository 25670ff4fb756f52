// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>
#include <vector>

namespace KORA::HA::Daemon::support {

/// Lets through the disk names of the peer that were seen before, and new ones up to 1,024 since
/// the start: what counts disks by name must not be made to grow for ever. What is dropped is said
/// once.
std::vector<std::string> onlyKnownDisks(const std::vector<std::string>& names);

}  // namespace KORA::HA::Daemon::support
