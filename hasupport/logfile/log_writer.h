// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>
#include <cstdint>
#include <mutex>
#include <string>

#include "hasupport/logfile/log_file.h"
#include "hasupport/logfile/pending_lines.h"

namespace KORA::HA::Daemon::support {

/// Takes pending lines to their file, so that each is there once and in order wherever a process is
/// killed and whatever fails. Used by one thread at a time; it holds the lines' lock while it
/// copies, never while it waits for the disk.
class LogWriter {
  public:
    LogWriter(const LogFile& file, PendingLines& lines, std::mutex& mutex)
        : file_(file), lines_(lines), mutex_(mutex) {}

    /// Writes the lines that wait now. 0, or the error: what was not written keeps waiting.
    int write();

    /// Finds out what became of a batch of which that is not known: one that failed, or that an
    /// earlier process did not live to see. 0, or the error that hides it.
    int settle();

  private:
    int writeBatches(const OpenLogFile& log, std::uint64_t newest);
    int settleIn(const OpenLogFile& log, std::size_t begin, std::size_t size,
                 const std::string& batch);

    const LogFile& file_;
    PendingLines& lines_;
    std::mutex& mutex_;  // guards the lines
};

}  // namespace KORA::HA::Daemon::support
