// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include "hasupport/io/kernel_roots.h"

namespace KORA::HA::Daemon::support {

/// What the kernel says of one disk at one moment.
struct DiskState {
    std::string device;         ///< which device bears the name; another one counts from 0 again
    bool handling = false;      ///< blocked, or its NVMe controller resets or connects
    bool failed = false;        ///< given up for good, or on its way out
    bool hostRecovers = false;  ///< its SCSI host's error handler is at work
    std::optional<std::uint32_t> timeouts;  ///< commands that timed out; wraps
    std::optional<std::uint32_t> errors;    ///< commands that ended with any error; wraps
    int unreadable = 0;  ///< errno of what was there and could not be read: then nothing is known
};

/// Reads the state of the disk `name` (a name of /sys/block). Disks that tell nothing of the kind,
/// such as virtio's, read as healthy.
DiskState readDiskState(const KernelRoots& roots, const std::string& name);

/// What a device's state word means: SCSI devices and NVMe controllers have words of their own.
bool isHandlingState(std::string_view word);
bool isFailedState(std::string_view word);
/// "recovery", "cancel/recovery", "deleted/recovery".
bool isRecoveryState(std::string_view word);

/// "0x1f" as the counters print it; nothing when it is anything else.
std::optional<std::uint32_t> parseIoCounter(std::string_view text);

/// "/…/host3/target3:0:0/3:0:0:0" gives "host3"; empty where there is no SCSI host.
std::string_view scsiHostOf(std::string_view devicePath);

}  // namespace KORA::HA::Daemon::support
