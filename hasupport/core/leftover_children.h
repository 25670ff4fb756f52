// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <sys/types.h>

namespace KORA::HA::Daemon::support {

/// Remembers a killed child that has not ended yet, so that it does not stay a zombie for ever.
void keepLeftover(pid_t pid);

/// Waits, without blocking, for the leftovers that have ended by now. False while so many are left
/// that no further program should be started: what hangs in the kernel must not pile up. Any
/// thread.
bool collectLeftovers();

}  // namespace KORA::HA::Daemon::support
