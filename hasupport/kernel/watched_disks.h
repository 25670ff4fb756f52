// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <optional>
#include <set>
#include <string>
#include <vector>

#include "hasupport/io/kernel_roots.h"

namespace KORA::HA::Daemon::support {

/// The disks under DRBD or md volumes, through partitions and device-mapper devices, and those
/// that are in `named` ("sda" or "/dev/sda"). Never removable ones, and none that md calls faulty:
/// such a disk has failed for good. Nothing when sysfs cannot be read (errno tells why).
std::optional<std::set<std::string>> watchedDisks(const KernelRoots& roots,
                                                  const std::vector<std::string>& named);

}  // namespace KORA::HA::Daemon::support
