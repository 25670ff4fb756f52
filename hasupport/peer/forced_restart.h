// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <ctime>

#include "hasupport/io/unique_fd.h"

namespace KORA::HA::Daemon::support {

/// How a machine restarts that can no longer restart in order.
struct ForcedRestart {
    time_t after;         ///< seconds that the orderly restart has
    time_t patience;      ///< seconds that `shutDown` has then
    void (*shutDown)();   ///< restarts, but waits for devices: a disk that hangs holds it up
    const char* trigger;  ///< a "b" written here restarts at once
};

/// Starts a process of its own that carries it out whatever happens to this one and to its disks.
/// The handle to cancel it with; none when it could not be started. Usually takes a moment, and at
/// most some seconds: a process that is not heard of by then is cancelled.
UniqueFd startForcedRestart(const ForcedRestart& restart);

/// Ends a forced restart that still leaves time to the orderly one.
void cancelForcedRestart(const UniqueFd& handle);

}  // namespace KORA::HA::Daemon::support
