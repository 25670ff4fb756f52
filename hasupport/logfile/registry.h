// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "hasupport/daemon_log.h"

namespace KORA::HA::Daemon::support {

/// The live log whose file name ends in ".record", null when there is none. Any thread.
DaemonLog* recordLog();
/// The live log whose file name ends in ".log", null when there is none. Any thread.
DaemonLog* messageLog();

/// Called by the logs themselves as they come and go.
void enlist(DaemonLog* log, const std::string& fileName);
void dismiss(DaemonLog* log);

}  // namespace KORA::HA::Daemon::support
