#pragma once

#include "hasupport/daemon_log.h"

namespace KORA::HA::Daemon::support {

/// The log that records go to: the one whose file name ends in ".record". Null when there is none.
DaemonLog* recordLog();

}  // namespace KORA::HA::Daemon::support
