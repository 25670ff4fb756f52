#pragma once

#include "hasupport/export.h"
#include "hasupport/status.h"

namespace KORA::HA::Daemon {

// Each puts `key=value` lines into the record log (the DaemonLog whose file name ends in
// ".record"). False when the source could not be read; nothing throws.

/// Memory figures, from /proc/meminfo.
KORAHA_EXPORT bool recordMemoryInfo();
/// One line per process, from /proc/PID/stat and status.
KORAHA_EXPORT bool recordPS();
/// One line per file system on a local block device, from /proc/self/mountinfo and statvfs.
KORAHA_EXPORT bool recordDF();
/// The health record, and every heartbeat and rate sample measured since the last call.
KORAHA_EXPORT bool recordStatus(Status& status);

}  // namespace KORA::HA::Daemon
