// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "hasupport/status.h"

namespace KORA::HA::Daemon {

// Routines, one thread each. They run until the running flag is clear, then return false; a probe
// that fails never ends them. Between passes they sleep checkInterval() seconds.

/// Routine "nonBlockCheck": local and remote disk error handling and the peer's md resync.
bool nonBlockCheck(Status& status);

/// Routine "mayBlockCheck": heartbeat latency, interface failure rate and local md resync.
bool mayBlockCheck(Status& status);

/// Routine "monitorEnv": runs the monitors on what the other two loops measured.
bool monitorEnv(Status& status);

}  // namespace KORA::HA::Daemon
