// SPDX-License-Identifier: Apache-2.0
// How long it takes to log a line while another thread writes the log to disk.
//
//   log_lines ours|bare DIRECTORY THREADS BURSTS LINES PAUSE_MS
//
// bare: a mutex, a string, and a stamp of which only the microseconds are made anew for each line.
#include <fcntl.h>
#include <sys/time.h>
#include <unistd.h>

#include <array>
#include <cstring>
#include <ctime>
#include <mutex>

#include "bench/programs/log_load.h"
#include "hasupport/daemon_log.h"

namespace {

class BareLog {
  public:
    explicit BareLog(std::string path) : path_(std::move(path)) {}

    void set(const std::string& line) {
        const std::lock_guard lock(mutex_);
        stamp();
        pending_.append(stamp_.data(), stamp_.size());
        pending_.append(line);
        pending_.push_back('\n');
    }

    void write() {
        writing_.clear();
        {
            const std::lock_guard lock(mutex_);
            std::swap(pending_, writing_);
        }
        if (writing_.empty()) {
            return;
        }
        const int fd = ::open(path_.c_str(), O_WRONLY | O_CREAT | O_APPEND | O_CLOEXEC, 0640);
        const auto size = static_cast<ssize_t>(writing_.size());
        bench::need(::write(fd, writing_.data(), writing_.size()) == size, "write");
        ::fdatasync(fd);
        ::close(fd);
    }

  private:
    /// "2026-01-31T12:00:00.123456Z "
    void stamp() {
        timespec now{};
        ::clock_gettime(CLOCK_REALTIME, &now);
        if (now.tv_sec != second_) {
            second_ = now.tv_sec;
            std::tm utc{};
            ::gmtime_r(&second_, &utc);
            std::array<char, 32> text{};
            std::strftime(text.data(), text.size(), "%Y-%m-%dT%H:%M:%S.000000Z ", &utc);
            std::memcpy(stamp_.data(), text.data(), stamp_.size());
        }
        auto micros = static_cast<unsigned>(now.tv_nsec / 1000);
        for (std::size_t digit = 25; digit >= 20; --digit) {
            stamp_[digit] = static_cast<char>('0' + micros % 10);
            micros /= 10;
        }
    }

    std::string path_;
    std::mutex mutex_;
    std::string pending_;
    std::string writing_;
    time_t second_ = 0;
    std::array<char, 28> stamp_{};
};

}  // namespace

int main(int argc, char** argv) {
    if (argc != 7) {
        std::fprintf(stderr, "Usage: log_lines ours|bare DIRECTORY THREADS BURSTS LINES PAUSE\n");
        return 2;
    }
    const std::string directory = argv[2];
    const auto load = bench::LogLoad::from(argv + 3);
    bench::Times times(load.lines());
    if (std::string_view(argv[1]) == "ours") {
        KORA::HA::Daemon::DaemonLog log(directory, "/ours.log");
        const bench::Flusher flusher([&log] { log.writeLogToDisk(); });
        bench::logBursts(
            load, [&log](const std::string& line) { log.set(line); }, times);
    } else {
        BareLog log(directory + "/bare.log");
        const bench::Flusher flusher([&log] { log.write(); });
        bench::logBursts(
            load, [&log](const std::string& line) { log.set(line); }, times);
    }
    times.print();
    return 0;
}
