// SPDX-License-Identifier: Apache-2.0
#include "hasupport/daemon_log.h"

#include <cerrno>
#include <chrono>
#include <cstring>
#include <exception>
#include <mutex>
#include <optional>
#include <string_view>
#include <utility>

#include "hasupport/io/notice.h"
#include "hasupport/logfile/buffer_place.h"
#include "hasupport/logfile/line_format.h"
#include "hasupport/logfile/line_stamp.h"
#include "hasupport/logfile/log_file.h"
#include "hasupport/logfile/log_writer.h"
#include "hasupport/logfile/pending_lines.h"
#include "hasupport/logfile/plain_text.h"
#include "hasupport/logfile/registry.h"

namespace KORA::HA::Daemon {
namespace {

constexpr std::size_t scratchKept = std::size_t{4} << 10U;

/// What nearly every line is: it goes into the buffer as it is.
bool isPlainLine(std::string_view line) {
    return line.size() <= scratchKept && support::plainLength(line) == line.size();
}

}  // namespace

class DaemonLog::Impl {
  public:
    Impl(std::string directory, const std::string& fileName)
        : file_(std::move(directory), fileName) {}

    /// The daemon's logs are never deleted; one that is leaves no buffer without lines behind.
    ~Impl() {
        const std::lock_guard lock(linesMutex_);
        if (lines_.outlives() && lines_.isDone() && lines_.untold() == 0) {
            support::removeBuffer(support::bufferPlace(), support::bufferName(file_.path()));
        }
    }
    Impl(const Impl&) = delete;
    Impl& operator=(const Impl&) = delete;

    void set(const std::string& line) {
        const std::lock_guard lock(linesMutex_);
        try {
            if (!tried_) {
                takeBufferOnce();
            }
            const auto now = std::chrono::system_clock::now();
            const support::Stamp& stamp = stamp_.at(now);
            if (isPlainLine(line)) {
                lines_.append(stamp, line, now);
            } else {
                appendFormatted(stamp, line, now);
            }
        } catch (const std::exception&) {
            lines_.lose(1);
        }
    }

    bool write() {
        const std::lock_guard fileLock(fileMutex_);
        const int error = writeWhatWaits();
        if (error != 0) {
            failure_.raise("a log cannot be written: " + file_.path() + ": " +
                           std::strerror(error));
            return false;
        }
        failure_.clear("a log can be written again: " + file_.path());
        return true;
    }

    std::int64_t size() const { return file_.size(); }

    bool rotate() {
        const std::lock_guard fileLock(fileMutex_);
        support::LogWriter(file_, lines_, linesMutex_).settle();
        if (file_.rotate()) {
            unrotated_.clear("a log can be rotated again: " + file_.path());
            return true;
        }
        if (const int error = errno; error != ENOENT) {
            unrotated_.raise("a log cannot be rotated: " + file_.path() +
                             " or one of its .1 to .5: " + std::strerror(error));
        }
        return false;
    }

  private:
    void appendFormatted(const support::Stamp& stamp, std::string_view line,
                         std::chrono::system_clock::time_point now) {
        const std::string_view begin = line.substr(0, support::lineLimit);
        scratch_.clear();
        support::appendLogLine(scratch_, support::textOf(stamp), begin);
        support::fitLine(scratch_, support::lineLimit, line.size() - begin.size());
        scratch_.pop_back();  // its newline
        lines_.append(stamp, std::string_view(scratch_).substr(stamp.size()), now);
        if (scratch_.capacity() > scratchKept) {
            scratch_ = std::string();
        }
    }

    /// The buffer is taken by the first use: a process that logs nothing disturbs no other.
    void takeBufferOnce() {
        if (!std::exchange(tried_, true)) {
            if (auto buffer = takeBuffer()) {
                lines_ = support::PendingLines(std::move(*buffer));
            }
        }
    }

    std::optional<support::LineBuffer> takeBuffer() {
        return support::LineBuffer::at(support::bufferPlace(), support::bufferName(file_.path()),
                                       trouble_);
    }

    int writeWhatWaits() {
        std::optional<support::PendingLines> taken = retakeBuffer();
        tellTrouble();
        if (taken) {  // what was left in it is older than ours
            std::mutex nobodyElses;
            const int error = support::LogWriter(file_, *taken, nobodyElses).write();
            if (error != 0) {
                return error;
            }
        }
        const int error = support::LogWriter(file_, lines_, linesMutex_).write();
        const std::lock_guard lock(linesMutex_);
        if (taken && lines_.isDone()) {
            taken->lose(lines_.untold());
            lines_ = std::move(*taken);
        }
        return error;
    }

    /// Tries again for the buffer where the lines lie in the memory of this process alone.
    std::optional<support::PendingLines> retakeBuffer() {
        {
            const std::lock_guard lock(linesMutex_);
            takeBufferOnce();
            if (lines_.outlives()) {
                return std::nullopt;
            }
        }
        auto buffer = takeBuffer();
        return buffer ? std::optional(support::PendingLines(std::move(*buffer))) : std::nullopt;
    }

    void tellTrouble() {
        if (trouble_.text.empty()) {
            unprotected_.clear("log lines outlive this process again");
        } else {
            unprotected_.raise("log lines do not outlive this process: " + trouble_.text);
        }
    }

    support::LogFile file_;
    std::mutex fileMutex_;  // one flush or rotation at a time; never held by set
    support::Notice failure_;
    support::Notice unrotated_;
    support::Notice unprotected_;

    std::mutex linesMutex_;  // guards what follows; held for a copy, never for a disk
    support::PendingLines lines_;
    support::BufferTrouble trouble_;  // after the first use: of the thread that flushes
    bool tried_ = false;
    support::LineStamp stamp_;
    std::string scratch_;
};

DaemonLog::DaemonLog(std::string directory, std::string fileName)
    : impl_(std::make_unique<Impl>(std::move(directory), fileName)) {
    support::enlist(this, fileName);
}

DaemonLog::~DaemonLog() {
    support::dismiss(this);
}

void DaemonLog::set(const std::string& line) {
    impl_->set(line);
}
bool DaemonLog::writeLogToDisk() try {
    const bool good = impl_->write();
    support::tellFlushed();
    return good;
} catch (const std::exception&) {
    return false;  // out of memory: the lines keep waiting
}
std::int64_t DaemonLog::size() const {
    return impl_->size();
}
bool DaemonLog::rotate() try { return impl_->rotate(); } catch (const std::exception&) {
    return false;
}

}  // namespace KORA::HA::Daemon
