// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "hasupport/status.h"

namespace KORA::HA::Daemon {

// Called by the "monitorEnv" routine only. Block while the cluster tool runs.

/// Judges the heartbeat latency (`Status::hbLatency`, milliseconds).
void monitorLatency(Status& status);

/// Judges the failure rate of the replication interface (`Status::netNonOkRate`, a fraction).
void monitorInterface(Status& status);

}  // namespace KORA::HA::Daemon
