// SPDX-License-Identifier: Apache-2.0
#include "hasupport/peer/forced_restart.h"

#include <fcntl.h>
#include <poll.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <cerrno>  // program_invocation_name, too
#include <csignal>
#include <cstdint>
#include <ctime>
#include <utility>

namespace KORA::HA::Daemon::support {
namespace {

constexpr std::int64_t thousand = 1000;
constexpr char armedLetter = 'a';
constexpr std::int64_t patienceForArming =
    5 * thousand;  // it takes a moment, also on a sick machine

std::int64_t millisecondsNow() {
    timespec now{};
    ::clock_gettime(CLOCK_MONOTONIC, &now);
    return now.tv_sec * thousand + now.tv_nsec / (thousand * thousand);
}

void sleepUntil(std::int64_t end) {
    for (auto left = end - millisecondsNow(); left > 0; left = end - millisecondsNow()) {
        ::poll(nullptr, 0, static_cast<int>(left));
    }
}

/// Waits; true when cancelled meanwhile. That the daemon ends, and its handle with it, cancels
/// nothing.
bool isCancelledUntil(std::int64_t end, int handle) {
    for (auto left = end - millisecondsNow(); left > 0; left = end - millisecondsNow()) {
        pollfd waiting{handle, POLLIN, 0};
        if (::poll(&waiting, 1, static_cast<int>(left)) == 1) {
            char letter = 0;
            if (::recv(handle, &letter, 1, MSG_DONTWAIT) == 1) {
                return true;
            }
            sleepUntil(end);
        }
    }
    return false;
}

void writeTo(const char* path, const char* letter) {
    const int fd = ::open(path, O_WRONLY | O_CLOEXEC);
    if (fd >= 0) {
        [[maybe_unused]] const ssize_t ignored = ::write(fd, letter, 1);
        ::close(fd);
    }
}

// A machine on its way down kills every process that is left, but for one of root whose name begins
// like this: and the hanging disk is waited for only after that.
void outliveShutdown() {
    program_invocation_name[0] = '@';
}

/// Sends one letter to the other end, where somebody may wait for it.
bool say(int handle, char letter) {
    ssize_t sent = -1;
    do {
        sent = ::send(handle, &letter, 1, MSG_NOSIGNAL);
    } while (sent < 0 && errno == EINTR);
    return sent == 1;
}

// Runs in a child that shares nothing with the daemon but its memory's content: only calls that are
// safe after a fork, no disk, no lock. The service manager kills what is left in the daemon's
// control group, so the child leaves it.
[[noreturn]] void forceLater(const ForcedRestart& restart, int handle) {
    if (!say(handle, armedLetter)) {
        ::_exit(1);  // nobody would know
    }
    ::setsid();
    sigset_t all;
    ::sigfillset(&all);
    ::sigprocmask(SIG_BLOCK, &all, nullptr);
    writeTo("/sys/fs/cgroup/cgroup.procs", "0");
    outliveShutdown();
    ::dup2(handle, 0);
    ::close_range(1, ~0U, 0);
    if (isCancelledUntil(millisecondsNow() + restart.after * thousand, 0)) {
        ::_exit(0);
    }
    // The kernel flushes every disk's cache on the way down and would wait for a hanging one as
    // long as its error handler works: hours, where each step has minutes.
    if (::fork() == 0) {
        restart.shutDown();
        ::_exit(1);
    }
    sleepUntil(millisecondsNow() + restart.patience * thousand);
    writeTo(restart.trigger, "b");
    ::_exit(1);
}

/// Waits for a child that ends at once.
void collect(pid_t child) {
    pid_t ended = -1;
    do {
        ended = ::waitpid(child, nullptr, 0);
    } while (ended < 0 && errno == EINTR);
}

/// True when the process at the other end has said that it is there; false when there is none, or
/// nothing was heard for some seconds. The way that the one between them ended does not tell: a
/// launcher that left SIGCHLD ignored has the kernel throw it away, and a restart that is armed
/// must never be taken for one that is not.
bool isThere(int handle) {
    const std::int64_t end = millisecondsNow() + patienceForArming;
    for (auto left = patienceForArming; left > 0; left = end - millisecondsNow()) {
        pollfd waiting{handle, POLLIN, 0};
        if (::poll(&waiting, 1, static_cast<int>(left)) != 1) {
            continue;
        }
        char letter = 0;
        const ssize_t got = ::recv(handle, &letter, 1, MSG_DONTWAIT);
        if (got >= 0 || (errno != EINTR && errno != EAGAIN)) {
            return got == 1 && letter == armedLetter;
        }
    }
    return false;
}

}  // namespace

// Forked twice, so that nobody has to wait for the grandchild. This is the one place that forks
// instead of spawning: a program would have to be read from a disk that may hang.
UniqueFd startForcedRestart(const ForcedRestart& restart) {
    std::array<int, 2> ends{-1, -1};
    if (::socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, ends.data()) != 0) {
        return {};
    }
    UniqueFd ours(ends[0]);
    UniqueFd theirs(ends[1]);
    const pid_t child = ::fork();
    if (child == 0) {
        const pid_t grandchild = ::fork();
        if (grandchild == 0) {
            forceLater(restart, theirs.get());
        }
        ::_exit(grandchild > 0 ? 0 : 1);
    }
    theirs.reset();  // so that nobody holds it where there is no grandchild
    if (child > 0) {
        collect(child);
    }
    if (child > 0 && isThere(ours.get())) {
        return ours;
    }
    cancelForcedRestart(ours);  // whatever it is that could not be heard
    return {};
}

void cancelForcedRestart(const UniqueFd& handle) {
    if (handle) {
        say(handle.get(), 'x');
    }
}

}  // namespace KORA::HA::Daemon::support
