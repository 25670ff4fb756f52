// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace KORA::HA::Daemon::support {

/// One line of /proc/self/mountinfo.
struct Mount {
    std::uint64_t id = 0;  ///< the kernel's number of this very mount
    unsigned major = 0;
    unsigned minor = 0;
    std::string point;
    std::string type;
    std::string source;
    bool readOnly = false;  ///< the file system is, not this view of it alone
};

/// All mounts in the file's order, later ones above earlier ones; lines that are cut short are
/// passed over.
std::vector<Mount> parseMountinfo(std::string_view text);

/// The mounts of local block devices that can be asked for their usage without touching anything
/// that may hang: one per device, and none that lies under, or is covered by, a file system of the
/// network or of a user process.
std::vector<Mount> localMounts(const std::vector<Mount>& mounts);

}  // namespace KORA::HA::Daemon::support
