// SPDX-License-Identifier: Apache-2.0
#include "hasupport/core/spawn.h"

#include <fcntl.h>
#include <spawn.h>
#include <unistd.h>

#include <array>
#include <csignal>

#include "hasupport/core/exec_options.h"

namespace KORA::HA::Daemon::support {
namespace {

constexpr int firstOwnDescriptor = 3;

// NOLINTBEGIN(modernize-avoid-c-arrays)
constinit char pathVariable[] = "PATH=/usr/local/sbin:/usr/local/bin:/usr/sbin:/usr/bin:/sbin:/bin";
constinit char localeVariable[] = "LC_ALL=C";
// NOLINTEND(modernize-avoid-c-arrays)

/// The file actions and attributes of one start; remembers the first error of building them.
class SpawnPlan {
  public:
    SpawnPlan() {
        note(::posix_spawn_file_actions_init(&actions_));
        note(::posix_spawnattr_init(&attributes_));
    }
    ~SpawnPlan() {
        ::posix_spawnattr_destroy(&attributes_);
        ::posix_spawn_file_actions_destroy(&actions_);
    }
    SpawnPlan(const SpawnPlan&) = delete;
    SpawnPlan& operator=(const SpawnPlan&) = delete;

    void nullStreams() {
        note(::posix_spawn_file_actions_addopen(&actions_, STDIN_FILENO, "/dev/null", O_RDONLY, 0));
        note(
            ::posix_spawn_file_actions_addopen(&actions_, STDOUT_FILENO, "/dev/null", O_WRONLY, 0));
        note(::posix_spawn_file_actions_adddup2(&actions_, STDOUT_FILENO, STDERR_FILENO));
    }

    void closeDescriptors() {
        note(::posix_spawn_file_actions_addclosefrom_np(&actions_, firstOwnDescriptor));
    }

    void ownGroup() {
        note(::posix_spawnattr_setpgroup(&attributes_, 0));
        flags_ |= POSIX_SPAWN_SETPGROUP;
    }

    void defaultSignals() {
        sigset_t set;
        ::sigfillset(&set);
        note(::posix_spawnattr_setsigdefault(&attributes_, &set));
        ::sigemptyset(&set);
        note(::posix_spawnattr_setsigmask(&attributes_, &set));
        flags_ |= POSIX_SPAWN_SETSIGDEF | POSIX_SPAWN_SETSIGMASK;
    }

    int start(const char* path, const char* const* arguments, char* const* environment,
              pid_t& child) {
        note(::posix_spawnattr_setflags(&attributes_, static_cast<short>(flags_)));
        if (error_ == 0) {
            // posix_spawn never writes to the strings, whatever its type says.
            // NOLINTNEXTLINE(cppcoreguidelines-pro-type-const-cast)
            auto* const strings = const_cast<char* const*>(arguments);
            note(::posix_spawn(&child, path, &actions_, &attributes_, strings, environment));
        }
        return error_;
    }

  private:
    void note(int error) {
        if (error_ == 0) {
            error_ = error;
        }
    }

    posix_spawn_file_actions_t actions_{};
    posix_spawnattr_t attributes_{};
    int flags_ = 0;
    int error_ = 0;
};

}  // namespace

int spawnProgram(const char* path, unsigned options, const char* const* arguments, pid_t& child) {
    SpawnPlan plan;
    if ((options & execNullStreams) != 0) {
        plan.nullStreams();
    }
    if ((options & execCloseDescriptors) != 0) {
        plan.closeDescriptors();
    }
    if ((options & execOwnGroup) != 0) {
        plan.ownGroup();
    }
    if ((options & execDefaultSignals) != 0) {
        plan.defaultSignals();
    }
    const std::array<char*, 3> fixed{pathVariable, localeVariable, nullptr};
    const bool useFixed = (options & execFixedEnvironment) != 0;
    return plan.start(path, arguments, useFixed ? fixed.data() : environ, child);
}

}  // namespace KORA::HA::Daemon::support
