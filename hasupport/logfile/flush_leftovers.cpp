// SPDX-License-Identifier: Apache-2.0
#include "hasupport/logfile/flush_leftovers.h"

#include <cstring>
#include <mutex>

#include "hasupport/logfile/log_writer.h"

namespace KORA::HA::Daemon::support {

FlushOutcome flushLeftovers(const BufferPlace& place, const std::string& directory,
                            const std::string& fileName) {
    using Result = FlushOutcome::Result;
    const LogFile file(directory, fileName);
    BufferPlace existing = place;
    existing.make = false;
    BufferTrouble trouble;
    auto buffer = LineBuffer::at(existing, bufferName(file.path()), trouble);
    if (!buffer) {
        if (trouble.absent) {
            return {Result::nothingLeft, {}};
        }
        return {trouble.busy ? Result::inUse : Result::failed, trouble.text};
    }
    PendingLines lines(std::move(*buffer));
    if (lines.isDone()) {
        return {Result::nothingLeft, {}};
    }
    std::mutex nobodyElses;
    const int error = LogWriter(file, lines, nobodyElses).write();
    if (error != 0) {
        return {Result::failed, file.path() + ": " + std::strerror(error)};
    }
    return {Result::written, {}};
}

}  // namespace KORA::HA::Daemon::support
