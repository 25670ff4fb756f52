// SPDX-License-Identifier: Apache-2.0
#include "daemon/supervisor.h"

#include <unistd.h>

#include "log/log_line.h"
#include "log/running_flag.h"
#include "log/upkeep/log_handler.h"

namespace KORA::HA::Daemon {
namespace {

constexpr int routineStoppedLine = 566;

void stopAtFirstStopped(RoutineTable& routines) {
    for (auto& [name, routine] : routines) {
        if (routine.getState() != 0) {
            stopRunning();
            logMessage(routineStoppedLine, "Failed to do " + name);
            return;
        }
    }
}

}  // namespace

void superviseUntilOneStops(RoutineTable& routines) {
    while (isRunning()) {
        stopAtFirstStopped(routines);
        sleep(1);
    }
}

void shutDown(RoutineTable& routines) {
    logWrite();
    for (auto& [name, routine] : routines) {
        routine.join();
    }
}

}  // namespace KORA::HA::Daemon
