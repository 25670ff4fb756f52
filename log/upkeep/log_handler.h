// SPDX-License-Identifier: Apache-2.0
#pragma once

namespace KORA::HA::Daemon {

/// Routine "logHandler": writes both logs to disk at its pace and now and then rotates a log that
/// has grown too large. Runs until the running flag is clear, then returns false.
bool logHandler();

/// Writes the daemon log, then the record log, to disk. Always true; what could not be written
/// stays in the log's memory.
bool logWrite();

/// Rotates each log whose file is larger than `maxSize` bytes. Always true.
bool logRotate(int maxSize);

}  // namespace KORA::HA::Daemon
