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

    /// Stamps the line and appends it to the log's memory.
    void set(const std::string& line);

    /// Writes the collected lines to the file. False when some could not be written: they stay in
    /// memory, in order, and are tried again by the next call.
    bool writeLogToDisk();

    /// Size of the log's file in bytes; 0 when there is none.
    std::int64_t size() const;

    /// Renames the file to FILE.1 (older ones up to FILE.5) so that the next write starts afresh.
    bool rotate();

  private:
    class Impl;
    std::unique_ptr<Impl> impl_;
};

}  // namespace KORA::HA::Daemon
