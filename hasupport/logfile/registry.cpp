// SPDX-License-Identifier: Apache-2.0
#include "hasupport/logfile/registry.h"

#include <array>
#include <atomic>
#include <string_view>

namespace KORA::HA::Daemon::support {
namespace {

// Constant-initialised: logs are made before main.
constinit std::atomic<DaemonLog*> theRecordLog{nullptr};
constinit std::atomic<DaemonLog*> theMessageLog{nullptr};
constinit std::atomic<void (*)()> workAfterFlush{nullptr};

}  // namespace

DaemonLog* recordLog() {
    return theRecordLog;
}
DaemonLog* messageLog() {
    return theMessageLog;
}

void doAfterFlush(void (*work)()) {
    workAfterFlush = work;
}

void tellFlushed() {
    if (void (*const work)() = workAfterFlush) {
        work();
    }
}

void enlist(DaemonLog* log, const std::string& fileName) {
    const std::string_view name = fileName;
    if (name.ends_with(".record")) {
        theRecordLog = log;
    } else if (name.ends_with(".log")) {
        theMessageLog = log;
    }
}

void dismiss(DaemonLog* log) {
    for (auto* each : {&theRecordLog, &theMessageLog}) {
        DaemonLog* expected = log;
        each->compare_exchange_strong(expected, nullptr);
    }
}

}  // namespace KORA::HA::Daemon::support
