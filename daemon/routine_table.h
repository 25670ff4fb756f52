// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <map>
#include <string>

#include "daemon/my_routine.h"
#include "hasupport/status.h"

namespace KORA::HA::Daemon {

/// The daemon's routines by name. Walked in key order, which is not the order of starting.
using RoutineTable = std::map<std::string, MyRoutine>;

/// Starts the eight routines, in their fixed order, all on the one shared status. One that could
/// not be started is in the table too and reports itself as stopped.
RoutineTable startRoutines(Status& status);

}  // namespace KORA::HA::Daemon
