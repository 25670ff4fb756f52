// SPDX-License-Identifier: Apache-2.0
#include "log/upkeep/log_handler.h"

#include <unistd.h>

#include <cstdint>
#include <ctime>

#include "config/int_daemon_conf.h"
#include "log/process_objects.h"
#include "log/running_flag.h"

namespace KORA::HA::Daemon {
namespace {

void rotateIfLarger(DaemonLog& log, std::int64_t maxSize) {
    if (maxSize < log.size()) {
        log.rotate();
    }
}

}  // namespace

bool logHandler() {
    std::time_t lastRotationCheck = std::time(nullptr);
    const int maxSize = GetInt(SIZE_MAX_OF_LOG_FILE);
    while (isRunning()) {
        logWrite();
        const double elapsed = std::difftime(std::time(nullptr), lastRotationCheck);
        if (elapsed > GetInt(BASE_INTERVAL_LOG_ROTATE)) {
            logRotate(maxSize);
            lastRotationCheck = std::time(nullptr);
        }
        sleep(static_cast<unsigned int>(GetInt(BASE_INTERVAL_LOG_WRITE)));
    }
    return false;
}

bool logWrite() {
    daemonLog().writeLogToDisk();
    recordLog().writeLogToDisk();
    return true;
}

bool logRotate(int maxSize) {
    rotateIfLarger(daemonLog(), maxSize);
    rotateIfLarger(recordLog(), maxSize);
    return true;
}

}  // namespace KORA::HA::Daemon
