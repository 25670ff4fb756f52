// SPDX-License-Identifier: Apache-2.0
#include "hasupport/core/leftover_children.h"

#include <sys/wait.h>

#include <algorithm>
#include <array>
#include <mutex>

namespace KORA::HA::Daemon::support {
namespace {

constexpr std::size_t leftoverLimit = 4;

struct Leftovers {
    std::mutex mutex;                         // guards everything below
    std::array<pid_t, leftoverLimit> pids{};  // 0: free
};

constinit Leftovers leftovers;

bool stillThere(pid_t pid) {
    siginfo_t info{};
    return ::waitid(P_PID, static_cast<id_t>(pid), &info, WEXITED | WNOHANG) == 0 &&
           info.si_pid == 0;
}

}  // namespace

void keepLeftover(pid_t pid) {
    const std::lock_guard lock(leftovers.mutex);
    const auto free = std::find(leftovers.pids.begin(), leftovers.pids.end(), 0);
    if (free != leftovers.pids.end()) {
        *free = pid;
    }
}

bool collectLeftovers() {
    const std::lock_guard lock(leftovers.mutex);
    for (pid_t& pid : leftovers.pids) {
        if (pid != 0 && !stillThere(pid)) {
            pid = 0;
        }
    }
    return std::find(leftovers.pids.begin(), leftovers.pids.end(), 0) != leftovers.pids.end();
}

}  // namespace KORA::HA::Daemon::support
