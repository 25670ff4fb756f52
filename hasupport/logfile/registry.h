// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "hasupport/daemon_log.h"

namespace KORA::HA::Daemon::support {

/// The live log whose file name ends in ".record", null when there is none. Any thread.
DaemonLog* recordLog();
/// The live log whose file name ends in ".log", null when there is none. Any thread.
DaemonLog* messageLog();

/// Has `work` done after every flush of a log, by whichever thread flushes: for what must wait for
/// a disk and has no thread of its own. It does not throw. One work in
/// a process; to say it again changes nothing.
void doAfterFlush(void (*work)());

/// Called by the logs themselves after a flush.
void tellFlushed();

/// Called by the logs themselves as they come and go.
void enlist(DaemonLog* log, const std::string& fileName);
void dismiss(DaemonLog* log);

}  // namespace KORA::HA::Daemon::support
