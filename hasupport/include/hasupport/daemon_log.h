// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>
#include <memory>
#include <string>

#include "hasupport/export.h"

namespace KORA::HA::Daemon {

/// A log that collects lines in memory and writes them to its file on request.
///
/// All operations may be called from any thread at once. `set` never touches a disk and never waits
/// for one; the others do file input and output and may take as long as the disk takes.
class KORAHA_EXPORT DaemonLog {
  public:
    /// The log's file is `directory` directly followed by `fileName` (which brings its own slash).
    /// Opens nothing and creates nothing.
    DaemonLog(std::string directory, std::string fileName);
    ~DaemonLog();
    DaemonLog(const DaemonLog&) = delete;
    DaemonLog& operator=(const DaemonLog&) = delete;

    /// Stamps the line (UTC, microseconds) and appends it to the log's memory: 64 KiB below
    /// /run/koraha, which outlive the process, and up to 4 MiB while the disk takes none. Where
    /// that is full the oldest lines go, and the log says how many. Control characters are escaped,
    /// very long lines cut. Never throws.
    void set(const std::string& line);

    /// Writes the collected lines to the file. False when some could not be written: they stay in
    /// memory, in order, and are tried again by the next call; the system log says so once. What
    /// an ended daemon left goes first. Makes the file (0640) and its directory (0750).
    bool writeLogToDisk();

    /// Size of the log's file in bytes; 0 when there is none.
    std::int64_t size() const;

    /// Renames the file to FILE.1 (older ones up to FILE.5) so that the next write starts afresh.
    /// False when there is none, or it could not be renamed. Waiting lines go to the new file.
    bool rotate();

  private:
    class Impl;
    std::unique_ptr<Impl> impl_;
};

}  // namespace KORA::HA::Daemon
