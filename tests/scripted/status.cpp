// SPDX-License-Identifier: Apache-2.0
#include "hasupport/status.h"

#include <json/writer.h>

#include "tests/scripted/json_line.h"
#include "tests/scripted/script.h"

std::string jsonLine(const Json::Value& value) {
    Json::StreamWriterBuilder writer;
    writer["indentation"] = "";
    return Json::writeString(writer, value);
}

namespace KORA::HA::Daemon {

Status::Status()
    : remoteMDResync(false),
      remoteDiskErrHandling(false),
      localMDResync(false),
      localDiskErrHandling(false),
      drbdConnected(false),
      netNonOkRate(0.0F),
      hbLatency(0.0F) {
    script().noteMade("Status");
}
Status::~Status() = default;

void Status::setRemoteAlive(bool alive) {
    script().note(std::string("setRemoteAlive ") + (alive ? "true" : "false"));
    const std::lock_guard lock(mutex_);
    remoteAlive_ = alive;
}
bool Status::isRemoteAlive() const {
    script().note("isRemoteAlive");
    const auto stored = [this] {
        const std::lock_guard lock(mutex_);
        return remoteAlive_;
    };
    return script().readAliveBack(stored());
}

void Status::setErrHandlingDisk(const Json::Value& disks) {
    script().note("setErrHandlingDisk " + jsonLine(disks));
    const std::lock_guard lock(mutex_);
    errHandlingDisk_ = disks;
}
Json::Value Status::getErrHandlingDisk() const {
    const std::lock_guard lock(mutex_);
    return errHandlingDisk_;
}

void Status::setErrHandlingDiskRemote(const Json::Value& disks) {
    script().note("setErrHandlingDiskRemote " + jsonLine(disks));
    const std::lock_guard lock(mutex_);
    errHandlingDiskRemote_ = disks;
}
Json::Value Status::getErrHandlingDiskRemote() const {
    script().note("getErrHandlingDiskRemote");
    const std::lock_guard lock(mutex_);
    return errHandlingDiskRemote_;
}

}  // namespace KORA::HA::Daemon
