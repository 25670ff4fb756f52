// SPDX-License-Identifier: Apache-2.0
#include "hasupport/daemon_log.h"
#include "hasupport/records.h"
#include "tests/scripted/script.h"

namespace KORA::HA::Daemon {

class DaemonLog::Impl {
  public:
    std::string name;
};

DaemonLog::DaemonLog(std::string directory, std::string fileName)
    : impl_(new Impl{fileName == "/ha.daemon.log" ? "daemonLog" : "recordLog"}) {
    script().noteMade("DaemonLog " + directory + " " + fileName);
}
DaemonLog::~DaemonLog() {
    script().note("~DaemonLog " + impl_->name);
}
void DaemonLog::set(const std::string& line) {
    if (impl_->name == "daemonLog") {
        script().noteLogLine(line);
    } else {
        script().note(impl_->name + ".set " + line);
    }
}
bool DaemonLog::writeLogToDisk() {
    script().note(impl_->name + ".writeLogToDisk");
    return script().writeLog(impl_->name);
}
std::int64_t DaemonLog::size() const {
    script().note(impl_->name + ".size");
    return script().logSize(impl_->name);
}
bool DaemonLog::rotate() {
    script().note(impl_->name + ".rotate");
    return script().rotateLog(impl_->name);
}

bool recordMemoryInfo() {
    script().note("recordMemoryInfo");
    return script().memoryInfo();
}
bool recordPS() {
    script().note("recordPS");
    return script().processes();
}
bool recordDF() {
    script().note("recordDF");
    return script().diskUsage();
}
bool recordStatus(Status& status) {
    script().note("recordStatus");
    return script().recordStatus(status);
}

}  // namespace KORA::HA::Daemon
