#include "hasupport/peer/restart_action.h"

#include <fcntl.h>
#include <sys/reboot.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <atomic>
#include <csignal>
#include <ctime>
#include <vector>

#include "hasupport/core/exec_options.h"
#include "hasupport/core/spawn.h"
#include "hasupport/io/notice.h"
#include "hasupport/io/unique_fd.h"
#include "hasupport/logfile/registry.h"
#include "hasupport/settings/support_settings.h"

namespace KORA::HA::Daemon::support {
namespace {

constexpr time_t forcedAfterSeconds = 30;

void writeLine(const char* path, const std::string& text) {
    const UniqueFd fd(::open(path, O_WRONLY | O_CLOEXEC | O_NONBLOCK | O_NOCTTY));
    if (fd) {
        [[maybe_unused]] const ssize_t ignored = ::write(fd.get(), text.data(), text.size());
    }
}

void sleepFor(time_t seconds) {
    timespec left{seconds, 0};
    while (::nanosleep(&left, &left) != 0) {
    }
}

// Runs in a child that shares nothing with the daemon but its memory's content: only calls that are
// safe after a fork, no disk, no lock. The service manager kills what is left in the daemon's
// control group, so the child leaves it.
[[noreturn]] void forceLater() {
    ::setsid();
    sigset_t all;
    ::sigfillset(&all);
    ::sigprocmask(SIG_BLOCK, &all, nullptr);
    const int group = ::open("/sys/fs/cgroup/cgroup.procs", O_WRONLY | O_CLOEXEC);
    if (group >= 0) {
        [[maybe_unused]] const ssize_t ignored = ::write(group, "0", 1);
        ::close(group);
    }
    ::close_range(0, ~0U, 0);
    sleepFor(forcedAfterSeconds);
    ::reboot(RB_AUTOBOOT);
    ::_exit(1);
}

bool startProgram(const std::vector<std::string>& words) {
    std::vector<char*> arguments;
    arguments.reserve(words.size() + 1);
    for (const std::string& word : words) {
        arguments.push_back(const_cast<char*>(word.c_str()));  // spawning does not write to them
    }
    arguments.push_back(nullptr);
    pid_t child = -1;
    return spawnProgram(words.front().c_str(), execAllOptions, arguments.data(), child) == 0;
}

class SystemRestart : public RestartAction {
  public:
    // Forked twice, so that nobody has to wait for the grandchild. This is the one place that forks
    // instead of spawning: a program would have to be read from a disk that may hang.
    bool armForced() override {
        const pid_t child = ::fork();
        if (child == 0) {
            const pid_t grandchild = ::fork();
            if (grandchild == 0) {
                forceLater();
            }
            ::_exit(grandchild > 0 ? 0 : 1);
        }
        int status = 1;
        return child > 0 && ::waitpid(child, &status, 0) == child && status == 0;
    }

    bool startOrderly() override {
        if (::access("/run/systemd/system", F_OK) == 0) {
            return startProgram({"/bin/systemctl", "--no-block", "reboot"});
        }
        return startProgram({"/sbin/reboot"});
    }

    void tell(const std::string& reason) override {
        notify(reason);
        writeLine("/dev/kmsg", "libkorahadaemon: " + reason + "\n");
        if (DaemonLog* log = messageLog()) {
            log->set("libkorahadaemon: " + reason);
            log->writeLogToDisk();
        }
    }
};

/// Where a command stands for the restart, nothing else may restart the machine.
class CommandRestart : public SystemRestart {
  public:
    bool armForced() override { return false; }
    bool startOrderly() override { return startProgram(supportSettings().orderlyCommand); }
};

constinit std::atomic<RestartAction*> replacement{nullptr};

}  // namespace

RestartAction& restartAction() {
    static SystemRestart system;
    static CommandRestart command;
    if (RestartAction* action = replacement) {
        return *action;
    }
    return supportSettings().orderlyCommand.empty() ? system : command;
}

void TEST_replaceRestartAction(RestartAction* action) {
    replacement = action;
}

}  // namespace KORA::HA::Daemon::support
