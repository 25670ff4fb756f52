// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "hasupport/status.h"

namespace KORA::HA::Daemon {

/// One cycle of the watch over the peer's disks: counts in how many cycles each disk was reported
/// under error handling and restarts the peer when one reaches the threshold, unless this node is
/// active or local constraints forbid it. Without a report the counts decay by one a cycle.
///
/// Called by the "monitorEnv" routine only, while the peer is alive. Returns whether the peer
/// reports error handling. Blocks for as long as a restart request takes.
bool monitorRemoetDiskErrHandling(Status& status);

}  // namespace KORA::HA::Daemon
