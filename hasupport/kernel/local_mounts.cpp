// SPDX-License-Identifier: Apache-2.0
#include <algorithm>
#include <array>
#include <string_view>

#include "hasupport/kernel/mountinfo.h"

namespace KORA::HA::Daemon::support {
namespace {

// On a block device, but served or arbitrated by something else that may be gone.
constexpr std::array sharedTypes{"gfs2", "ocfs2"};

// Without a block device, and answered by this kernel out of its memory.
constexpr std::array memoryTypes{"rootfs", "tmpfs", "ramfs",   "devtmpfs",  "overlay",
                                 "proc",   "sysfs", "cgroup2", "securityfs"};

template <std::size_t N>
bool isOneOf(std::string_view type, const std::array<const char*, N>& types) {
    return std::find(types.begin(), types.end(), type) != types.end();
}

bool isOnLocalDevice(const Mount& mount) {
    if (mount.source.rfind("/dev/", 0) != 0 || mount.type.rfind("fuse", 0) == 0 ||
        isOneOf(mount.type, sharedTypes)) {
        return false;
    }
    // btrfs has device numbers of its own, without a major.
    return mount.major != 0 || mount.type == "btrfs";
}

bool mayHang(const Mount& mount) {
    return !isOnLocalDevice(mount) && !isOneOf(mount.type, memoryTypes);
}

/// True when the way to `point` leads to or through `upper`.
bool leadsThrough(std::string_view point, std::string_view upper) {
    if (upper == "/") {
        return true;
    }
    return point.substr(0, upper.size()) == upper &&
           (point.size() == upper.size() || point[upper.size()] == '/');
}

bool sameDevice(const Mount& one, const Mount& other) {
    return one.type == "btrfs" ? one.source == other.source
                               : one.major == other.major && one.minor == other.minor;
}

}  // namespace

std::vector<Mount> localMounts(const std::vector<Mount>& mounts) {
    std::vector<Mount> kept;
    for (const Mount& mount : mounts) {
        const bool unsafe = std::any_of(mounts.begin(), mounts.end(), [&](const Mount& other) {
            return mayHang(other) && leadsThrough(mount.point, other.point);
        });
        const bool known = std::any_of(
            kept.begin(), kept.end(), [&](const Mount& other) { return sameDevice(mount, other); });
        if (isOnLocalDevice(mount) && !unsafe && !known) {
            kept.push_back(mount);
        }
    }
    return kept;
}

}  // namespace KORA::HA::Daemon::support
