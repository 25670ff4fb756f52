// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "hasupport/kernel/drbd_view.h"

namespace KORA::HA::Daemon::support {

/// Looks at this node's DRBD; with DRBD 9 it waits for drbdsetup. Any thread.
DrbdView lookAtDrbd();

/// What can be told of it at once and without a process: what /proc/drbd says, with DRBD 9 what
/// drbdsetup told the last look of any thread. Any thread.
DrbdView drbdAtHand();

}  // namespace KORA::HA::Daemon::support
