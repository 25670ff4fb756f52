// SPDX-License-Identifier: Apache-2.0
// The floor of what the daemon's memory can be: a process of the same libraries that locks its
// memory, has one arena and eight threads with the same stacks, and does nothing.
#include <malloc.h>
#include <sys/mman.h>
#include <unistd.h>

#include <boost/thread.hpp>

#include "bench/programs/eight_threads.h"
#include "hasupport/daemon_log.h"
#include "hasupport/exec.h"
#include "hasupport/status.h"

namespace {

void* wait(void*) {
    for (;;) {
        ::pause();
    }
}

}  // namespace

int main() {
    ::mallopt(M_ARENA_MAX, 1);
    bench::need(::mlockall(MCL_CURRENT | MCL_FUTURE) == 0, "mlockall");
    for (int i = 0; i < 8; ++i) {
        bench::startRoutine(&wait);
    }
    // What keeps the libraries in: an object of each.
    const KORA::HA::Daemon::Status status;
    const KORA::HA::Daemon::DaemonLog log("/tmp", "/floor.log");
    const boost::thread none;
    wait(nullptr);
    return VLIBCExecl("", 0, nullptr);
}
