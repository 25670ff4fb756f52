// SPDX-License-Identifier: Apache-2.0
#include "hasupport/core/run_program.h"

#include <cerrno>

#include "hasupport/core/child_process.h"
#include "hasupport/core/exec_options.h"
#include "hasupport/core/leftover_children.h"
#include "hasupport/core/spawn.h"

namespace KORA::HA::Daemon::support {
namespace {

int failure(int error) {
    errno = error;
    return -1;
}

bool isUsable(unsigned options) {
    return (options & ~execAllOptions) == 0 && (options & execWait) != 0;
}

/// Ends a program that ran too long. One that even a kill does not end (it hangs inside the
/// kernel) is waited for later, not here.
void endChild(ChildProcess& child, pid_t pid, const RunLimits& limits) {
    child.kill();
    if (!child.wait(Deadline::in(limits.ending)) && !child.lost()) {
        keepLeftover(pid);
    }
}

}  // namespace

int runProgram(const char* path, unsigned options, const char* const* arguments,
               const RunLimits& limits) {
    if (path == nullptr || *path == '\0' || !isUsable(options)) {
        return failure(EINVAL);
    }
    keepChildStatus();
    if (!collectLeftovers()) {
        return failure(EAGAIN);
    }
    pid_t pid = -1;
    if (const int error = spawnProgram(path, options, arguments, pid); error != 0) {
        return failure(error);
    }
    ChildProcess child(pid, (options & execOwnGroup) != 0);
    if (const auto status = child.wait(Deadline::in(limits.run))) {
        return *status;
    }
    if (child.lost()) {
        return failure(ECHILD);
    }
    endChild(child, pid, limits);
    return failure(ETIMEDOUT);
}

}  // namespace KORA::HA::Daemon::support
