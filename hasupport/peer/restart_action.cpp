// SPDX-License-Identifier: Apache-2.0
#include "hasupport/peer/restart_action.h"

#include <fcntl.h>
#include <sys/reboot.h>
#include <unistd.h>

#include <atomic>
#include <cstring>
#include <vector>

#include "hasupport/core/exec_options.h"
#include "hasupport/core/spawn.h"
#include "hasupport/io/notice.h"
#include "hasupport/io/unique_fd.h"
#include "hasupport/logfile/registry.h"
#include "hasupport/peer/forced_restart.h"
#include "hasupport/settings/support_settings.h"

namespace KORA::HA::Daemon::support {
namespace {

void shutDownAndRestart() {
    ::reboot(RB_AUTOBOOT);
}

constexpr ForcedRestart forcedRestart{30, 10, shutDownAndRestart, "/proc/sysrq-trigger"};

void writeLine(const char* path, const std::string& text) {
    const UniqueFd fd(::open(path, O_WRONLY | O_CLOEXEC | O_NONBLOCK | O_NOCTTY));
    if (fd) {
        [[maybe_unused]] const ssize_t ignored = ::write(fd.get(), text.data(), text.size());
    }
}

bool startProgram(const std::vector<std::string>& words) {
    std::vector<char*> arguments;
    arguments.reserve(words.size() + 1);
    for (const std::string& word : words) {
        arguments.push_back(const_cast<char*>(word.c_str()));  // spawning does not write to them
    }
    arguments.push_back(nullptr);
    pid_t child = -1;
    const int error = spawnProgram(words.front().c_str(), execAllOptions, arguments.data(), child);
    if (error != 0) {
        notify(words.front() + " cannot be started: " + std::strerror(error));
    }
    return error == 0;
}

class SystemRestart : public RestartAction {
  public:
    bool armForced() override {
        armed_ = startForcedRestart(forcedRestart);
        return static_cast<bool>(armed_);
    }
    void disarm() override { cancelForcedRestart(armed_); }

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
        }
    }

  private:
    UniqueFd armed_;
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
