#include "hasupport/peer/forced_restart.h"

#include <fcntl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <csignal>

namespace KORA::HA::Daemon::support {
namespace {

void sleepFor(time_t seconds) {
    timespec left{seconds, 0};
    while (::nanosleep(&left, &left) != 0) {
    }
}

void writeTo(const char* path, const char* letter) {
    const int fd = ::open(path, O_WRONLY | O_CLOEXEC);
    if (fd >= 0) {
        [[maybe_unused]] const ssize_t ignored = ::write(fd, letter, 1);
        ::close(fd);
    }
}

// Runs in a child that shares nothing with the daemon but its memory's content: only calls that are
// safe after a fork, no disk, no lock. The service manager kills what is left in the daemon's
// control group, so the child leaves it.
[[noreturn]] void forceLater(const ForcedRestart& restart) {
    ::setsid();
    sigset_t all;
    ::sigfillset(&all);
    ::sigprocmask(SIG_BLOCK, &all, nullptr);
    writeTo("/sys/fs/cgroup/cgroup.procs", "0");
    ::close_range(0, ~0U, 0);
    sleepFor(restart.after);
    // The kernel flushes every disk's cache on the way down and would wait for a hanging one as
    // long as its error handler works: hours, where each step has minutes.
    if (::fork() == 0) {
        restart.shutDown();
        ::_exit(1);
    }
    sleepFor(restart.patience);
    writeTo(restart.trigger, "b");
    ::_exit(1);
}

}  // namespace

// Forked twice, so that nobody has to wait for the grandchild. This is the one place that forks
// instead of spawning: a program would have to be read from a disk that may hang.
bool startForcedRestart(const ForcedRestart& restart) {
    const pid_t child = ::fork();
    if (child == 0) {
        const pid_t grandchild = ::fork();
        if (grandchild == 0) {
            forceLater(restart);
        }
        ::_exit(grandchild > 0 ? 0 : 1);
    }
    int status = 1;
    return child > 0 && ::waitpid(child, &status, 0) == child && status == 0;
}

}  // namespace KORA::HA::Daemon::support
