// SPDX-License-Identifier: Apache-2.0
#include "hasupport/core/child_process.h"

#include <poll.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <csignal>

namespace KORA::HA::Daemon::support {
namespace {

constexpr int signalStatusBase = 128;
constexpr int lookAgainMs = 20;  // only where the kernel has no descriptor for us

UniqueFd openPidfd(pid_t pid) {
    // The child has not been waited for, so its number cannot have passed to another process. The
    // descriptor is close-on-exec by itself.
    return UniqueFd(static_cast<int>(::syscall(SYS_pidfd_open, pid, 0)));
}

int statusOf(const siginfo_t& info) {
    return info.si_code == CLD_EXITED ? info.si_status : signalStatusBase + info.si_status;
}

}  // namespace

ChildProcess::ChildProcess(pid_t pid, bool leadsGroup)
    : pid_(pid), leadsGroup_(leadsGroup), descriptor_(openPidfd(pid)) {}

std::optional<int> ChildProcess::wait(const Deadline& deadline) {
    for (;;) {
        const bool last = deadline.passed();
        const auto status = collect();
        if (status || lost_ || last) {
            return status;
        }
        sleepUntilEnd(deadline);
    }
}

void ChildProcess::kill() const {
    // Unwaited for, the leader keeps the group's number taken, even as a zombie.
    ::kill(leadsGroup_ ? -pid_ : pid_, SIGKILL);
}

std::optional<int> ChildProcess::collect() {
    siginfo_t info{};
    int result = -1;
    do {
        result = ::waitid(P_PID, static_cast<id_t>(pid_), &info, WEXITED | WNOHANG);
    } while (result != 0 && errno == EINTR);
    if (result != 0) {
        lost_ = true;
        return std::nullopt;
    }
    return info.si_pid == pid_ ? std::optional<int>(statusOf(info)) : std::nullopt;
}

void ChildProcess::sleepUntilEnd(const Deadline& deadline) const {
    // A negative descriptor is skipped by poll, which then merely sleeps.
    pollfd ended{descriptor_.get(), POLLIN, 0};
    const int left = deadline.pollTimeout();
    ::poll(&ended, 1, descriptor_ ? left : std::min(left, lookAgainMs));
}

void keepChildStatus() {
    struct sigaction action {};
    if (::sigaction(SIGCHLD, nullptr, &action) != 0) {
        return;
    }
    const bool ignored = (action.sa_flags & SA_SIGINFO) == 0 && action.sa_handler == SIG_IGN;
    if (!ignored && (action.sa_flags & SA_NOCLDWAIT) == 0) {
        return;
    }
    if (ignored) {
        action.sa_handler = SIG_DFL;
    }
    action.sa_flags &= ~SA_NOCLDWAIT;
    ::sigaction(SIGCHLD, &action, nullptr);
}

}  // namespace KORA::HA::Daemon::support
