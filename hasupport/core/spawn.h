// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <sys/types.h>

#include "hasupport/export.h"

namespace KORA::HA::Daemon::support {

/// Starts the program at `path` (no search, no shell) with a null-terminated argument list, the
/// way `options` (bits of ExecOption) asks. 0 and the child's number in `child`, else an errno.
KORAHA_EXPORT int spawnProgram(const char* path, unsigned options, const char* const* arguments,
                               pid_t& child);

}  // namespace KORA::HA::Daemon::support
