#include "hasupport/daemon_log.h"

#include <chrono>
#include <cstring>
#include <mutex>
#include <utility>

#include "hasupport/io/notice.h"
#include "hasupport/logfile/line_format.h"
#include "hasupport/logfile/log_file.h"
#include "hasupport/logfile/pending_lines.h"
#include "hasupport/logfile/registry.h"

namespace KORA::HA::Daemon {
namespace {

constexpr std::size_t pendingCeiling = std::size_t{4} << 20U;
constexpr std::size_t batchLimit = std::size_t{64} << 10U;

}  // namespace

class DaemonLog::Impl {
  public:
    Impl(std::string directory, const std::string& fileName)
        : file_(std::move(directory), fileName) {}

    void set(const std::string& line) {
        const auto now = std::chrono::system_clock::now();
        const std::lock_guard lock(linesMutex_);
        append(now, line);
    }

    bool write() {
        const std::lock_guard fileLock(fileMutex_);
        stateLoss();
        for (;;) {
            const std::string batch = nextBatch();
            if (batch.empty()) {
                failure_.clear(file_.path() + " can be written again");
                return true;
            }
            const auto outcome = file_.append(batch);
            forget(outcome.written);
            if (outcome.error != 0) {
                failure_.raise(file_.path() +
                               " cannot be written: " + std::strerror(outcome.error));
                return false;
            }
        }
    }

    std::int64_t size() const { return file_.size(); }

    bool rotate() {
        const std::lock_guard fileLock(fileMutex_);
        return file_.rotate();
    }

  private:
    void append(std::chrono::system_clock::time_point at, std::string_view line) {
        scratch_.clear();
        support::appendLogLine(scratch_, at, line);
        lines_.append(scratch_);
    }

    void stateLoss() {
        const std::lock_guard lock(linesMutex_);
        if (const auto lost = lines_.takeLost(); lost > 0) {
            append(std::chrono::system_clock::now(),
                   "libkorahadaemon: " + std::to_string(lost) +
                       " older lines were lost, the log could not be written in time");
        }
    }

    std::string nextBatch() {
        const std::lock_guard lock(linesMutex_);
        return lines_.batch(batchLimit);
    }

    void forget(std::size_t written) {
        const std::lock_guard lock(linesMutex_);
        lines_.written(written);
    }

    support::LogFile file_;
    std::mutex fileMutex_;  // one flush or rotation at a time; never held by set
    support::Notice failure_;

    std::mutex linesMutex_;  // guards the two below; held for a copy, never for a disk
    support::PendingLines lines_{pendingCeiling};
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
bool DaemonLog::writeLogToDisk() {
    return impl_->write();
}
std::int64_t DaemonLog::size() const {
    return impl_->size();
}
bool DaemonLog::rotate() {
    return impl_->rotate();
}

}  // namespace KORA::HA::Daemon
