// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "hasupport/daemon_log.h"
#include "hasupport/status.h"

// The objects that exist once in the process, from before `main` until after it. They are built in
// one translation unit, in a fixed order, and reached only through these functions, by any thread.
namespace KORA::HA::Daemon {

/// "/var/log/ha/ha.daemon.log": every message of the daemon. Never deleted.
DaemonLog& daemonLog();

/// "/var/log/ha/ha.daemon.record": the support library's periodic records. Never deleted.
DaemonLog& recordLog();

/// The health record that all routines share.
Status& sharedStatus();

}  // namespace KORA::HA::Daemon
