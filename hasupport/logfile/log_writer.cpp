// SPDX-License-Identifier: Apache-2.0
#include "hasupport/logfile/log_writer.h"

#include <cerrno>
#include <optional>

#include "hasupport/logfile/written_part.h"

namespace KORA::HA::Daemon::support {
namespace {

// What others may have added between the mark and the batch, at most.
constexpr std::size_t foreignLimit = std::size_t{1} << 20U;

}  // namespace

int LogWriter::write() {
    if (const int error = settle(); error != 0) {
        return error;
    }
    std::uint64_t newest = 0;
    {
        const std::lock_guard lock(mutex_);
        if (lines_.isEmpty()) {
            return 0;
        }
        newest = lines_.newest();
    }
    const OpenLogFile log = file_.openToAppend();
    if (log.error() != 0) {
        return log.error();
    }
    const int error = writeBatches(log, newest);
    log.sync();
    const std::lock_guard lock(mutex_);
    lines_.giveBack();
    return error;
}

// Before each batch the buffer notes where it goes, and behind it that it went there.
int LogWriter::writeBatches(const OpenLogFile& log, std::uint64_t newest) {
    std::string batch;
    for (;;) {
        const auto mark = log.mark();
        if (!mark) {
            return EIO;
        }
        {
            const std::lock_guard lock(mutex_);
            lines_.begin(*mark, newest, batch);
        }
        if (batch.empty()) {
            return 0;
        }
        const WriteOutcome outcome = log.append(batch);
        if (outcome.error != 0) {
            settle();
            return outcome.error;
        }
        const std::lock_guard lock(mutex_);
        lines_.advance(batch.size());
    }
}

int LogWriter::settle() {
    std::optional<Flight> flight;
    std::string batch;
    {
        const std::lock_guard lock(mutex_);
        flight = lines_.flight();
        lines_.composeFlight(batch);
    }
    if (!flight) {
        return 0;
    }
    const OpenLogFile log = file_.openMarked(flight->mark);
    if (log.error() == ENOENT) {  // gone, with whatever was in it
        const std::lock_guard lock(mutex_);
        lines_.advance(0);
        return 0;
    }
    const auto tail = log.error() == 0
                          ? log.readFrom(flight->mark.size, batch.size() + foreignLimit)
                          : std::nullopt;
    if (!tail) {
        return log.error() != 0 ? log.error() : EIO;
    }
    const WrittenPart part = findWrittenPart(*tail, batch);
    return settleIn(log, static_cast<std::size_t>(flight->mark.size) + part.begin, part.size,
                    batch);
}

// Half a line at the end of the file is cut off; where that cannot be done its rest is added.
int LogWriter::settleIn(const OpenLogFile& log, std::size_t begin, std::size_t size,
                        const std::string& batch) {
    std::size_t done = size;
    LineSpan half;
    {
        const std::lock_guard lock(mutex_);
        half = lines_.flightLineAt(size);
    }
    if (half.begin < size && size < half.end) {
        done = half.begin;
        if (!log.cut(begin + size, begin + half.begin)) {
            const WriteOutcome rest =
                log.append(std::string_view(batch).substr(size, half.end - size));
            if (rest.error != 0) {
                return rest.error;
            }
            done = half.end;
        }
    }
    const std::lock_guard lock(mutex_);
    lines_.advance(done);
    return 0;
}

}  // namespace KORA::HA::Daemon::support
