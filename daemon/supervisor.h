// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "daemon/routine_table.h"

namespace KORA::HA::Daemon {

/// Watches the routines until one has stopped: logs the first one found, in key order, and clears
/// the running flag. A pass takes about a second per running routine and one of sleep.
void superviseUntilOneStops(RoutineTable& routines);

/// Writes both logs to disk, then joins every routine in key order; waits, without a bound, for
/// the pass that each is in.
void shutDown(RoutineTable& routines);

}  // namespace KORA::HA::Daemon
