// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "hasupport/export.h"
#include "hasupport/status.h"

namespace KORA::HA::Daemon {

// Each puts `key=value` lines into the record log (the DaemonLog whose file name ends in
// ".record"), into its memory only. False when the source could not be read or there is no such
// log; nothing throws. Any thread; none waits for the network.

/// Memory figures in kB, from /proc/meminfo.
KORAHA_EXPORT bool recordMemoryInfo();
/// One line per process (1,024 at most; kernel threads only while they hang), and how many there
/// are, from /proc/PID/stat and status: kB, milliseconds of processor time.
KORAHA_EXPORT bool recordPS();
/// One line per file system on a local block device, sizes in kB, from /proc/self/mountinfo and
/// fstatfs; none that lies under, or is covered by, a mount that may hang.
KORAHA_EXPORT bool recordDF();
/// The health record, the readings with their ages in seconds, and every heartbeat (milliseconds)
/// and rate (fraction) sample measured since the last call. `status` is only read.
KORAHA_EXPORT bool recordStatus(Status& status);

}  // namespace KORA::HA::Daemon
