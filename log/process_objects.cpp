// SPDX-License-Identifier: Apache-2.0
#include "log/process_objects.h"

#include <atomic>

#include "log/running_flag.h"

namespace KORA::HA::Daemon {
namespace {

constexpr const char* logDirectory = "/var/log/ha";
constexpr const char* daemonLogName = "/ha.daemon.log";
constexpr const char* recordLogName = "/ha.daemon.record";

constinit std::atomic<bool> running{true};

// Built in the order of its members. The logs are never deleted: threads may still log while the
// process ends.
struct ProcessObjects {
    DaemonLog* const daemonLog = new DaemonLog(logDirectory, daemonLogName);
    DaemonLog* const recordLog = new DaemonLog(logDirectory, recordLogName);
    Status status;
};

// Before every other object of the daemon, and destroyed after it.
constexpr int beforeAllOthers = 1001;
[[gnu::init_priority(beforeAllOthers)]] ProcessObjects objects;

}  // namespace

bool isRunning() {
    return running.load();
}
void stopRunning() {
    running.store(false);
}
void TEST_setRunning(bool value) {
    running.store(value);
}

DaemonLog& daemonLog() {
    return *objects.daemonLog;
}
DaemonLog& recordLog() {
    return *objects.recordLog;
}
Status& sharedStatus() {
    return objects.status;
}

}  // namespace KORA::HA::Daemon
