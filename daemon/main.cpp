// SPDX-License-Identifier: Apache-2.0
#include <sys/mman.h>
#include <syslog.h>

#include <cerrno>
#include <cstring>
#include <iostream>
#include <string>

#include "config/int_daemon_conf.h"
#include "daemon/routine_table.h"
#include "daemon/supervisor.h"
#include "hasupport/replication_link.h"
#include "log/log_line.h"
#include "log/process_objects.h"
#include "monitor/flag.h"

namespace {

using namespace KORA::HA::Daemon;  // NOLINT(google-build-using-namespace): this is the daemon

constexpr int badParameterLine = 529;
constexpr int loadFailedLine = 535;
constexpr int lockFailedLine = 547;

constexpr int exitStatus = 1;  // on every path: a monitor that has ended is never a success

void describeLink(char** argv) {
    localIP(argv[1]);
    remoteIP(argv[2]);
    drbdIF(argv[3]);
}

void lockMemory() {
    if (mlockall(MCL_CURRENT | MCL_FUTURE) == -1) {
        syslog(LOG_ERR, "%s:%d Memory lock failed: %s", daemonTag, lockFailedLine,
               std::strerror(errno));
    }
}

}  // namespace

int main(int argc, char** argv) {
    if (argc != 4) {
        const std::string name = argc > 0 ? argv[0] : "";
        std::cerr << "Usage: " + name + " <local_drbdip> <remote_drbdip> <drbdif>" << std::endl;
        syslog(LOG_ERR, "%s:%d Bad parameter", daemonTag, badParameterLine);
        return exitStatus;
    }
    if (!Load()) {
        std::cerr << "Failed to load config file" << std::endl;
        syslog(LOG_ERR, "%s:%d Failed to load config file", daemonTag, loadFailedLine);
        return exitStatus;
    }
    Flag(remoteBusyFlagPath).down();
    describeLink(argv);
    lockMemory();

    static RoutineTable routines = startRoutines(sharedStatus());
    superviseUntilOneStops(routines);
    shutDown(routines);
    return exitStatus;
}
