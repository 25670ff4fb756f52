// SPDX-License-Identifier: Apache-2.0
// Numbers every line that a daemon gives to its logs: preloaded, it stands between the caller and
// DaemonLog::set, and adds " #RUN.THREAD.NUMBER" to the line. How far each thread has come is kept
// in a file that outlives the daemon: numbers up to `returned` must be found in the log files,
// once.
#include <dlfcn.h>
#include <fcntl.h>
#include <sys/mman.h>
#include <unistd.h>

#include <array>
#include <atomic>
#include <cstdint>
#include <cstdlib>
#include <string>

#include "hasupport/daemon_log.h"

namespace {

constexpr std::size_t threadLimit = 64;

/// In the order of the file; the reader knows it as pairs of 64-bit numbers.
struct Progress {
    std::atomic<std::uint64_t> begun{0};
    std::atomic<std::uint64_t> returned{0};
};
using AllProgress = std::array<Progress, threadLimit>;
static_assert(sizeof(AllProgress) == 16 * threadLimit);

/// The file named in the environment, mapped; without one, memory that nobody will read.
AllProgress& allProgress() {
    static AllProgress* const all = [] {
        static AllProgress unread;
        const char* const path = std::getenv("KORAHA_NUMBERS");
        const int fd = path == nullptr ? -1 : ::open(path, O_RDWR | O_CREAT | O_CLOEXEC, 0600);
        if (fd < 0 || ::ftruncate(fd, sizeof(AllProgress)) != 0) {
            return &unread;
        }
        void* const map =
            ::mmap(nullptr, sizeof(AllProgress), PROT_READ | PROT_WRITE, MAP_SHARED, fd, 0);
        ::close(fd);
        return map == MAP_FAILED ? &unread : static_cast<AllProgress*>(map);
    }();
    return *all;
}

const std::string& runName() {
    static const std::string name = [] {
        const char* const given = std::getenv("KORAHA_RUN");
        return std::string(given == nullptr ? "0" : given);
    }();
    return name;
}

std::size_t threadNumber() {
    static constinit std::atomic<std::size_t> threads{0};
    thread_local const std::size_t number = threads.fetch_add(1) % threadLimit;
    return number;
}

using Set = void (*)(KORA::HA::Daemon::DaemonLog*, const std::string&);

Set realSet() {
    static const auto found = reinterpret_cast<Set>(
        ::dlsym(RTLD_NEXT,
                "_ZN4KORA2HA6Daemon9DaemonLog3setERKNSt7__cxx1112basic_stringIcSt11char_"
                "traitsIcESaIcEEE"));
    return found;
}

}  // namespace

namespace KORA::HA::Daemon {

void DaemonLog::set(const std::string& line) {
    const std::size_t thread = threadNumber();
    Progress& progress = allProgress().at(thread);
    const std::uint64_t number = ++progress.begun;
    realSet()(this, line + " #" + runName() + '.' + std::to_string(thread) + '.' +
                        std::to_string(number));
    progress.returned = number;
}

}  // namespace KORA::HA::Daemon
