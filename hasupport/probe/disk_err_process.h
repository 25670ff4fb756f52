// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "hasupport/kernel/disk_err_watch.h"

namespace KORA::HA::Daemon::support {

/// The process's one watch over its disks, with the disks of the settings. Any thread.
DiskErrLook lookAtDisks();
/// What the next look would find; leaves it to that look.
DiskErrLook peekAtDisks();

}  // namespace KORA::HA::Daemon::support
