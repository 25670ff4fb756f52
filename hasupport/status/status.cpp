#include "hasupport/status.h"

#include "hasupport/io/notice.h"

namespace KORA::HA::Daemon {
namespace {

constexpr std::size_t namesSeenLimit = 1024;
constexpr std::size_t nameLengthLimit = 256;

constinit support::Notice namesDropped;

}  // namespace

Status::Status()
    : remoteMDResync(false),
      remoteDiskErrHandling(false),
      localMDResync(false),
      localDiskErrHandling(false),
      drbdConnected(false),
      netNonOkRate(0.0F),
      hbLatency(0.0F) {}

Status::~Status() = default;

void Status::setRemoteAlive(bool alive) {
    const std::lock_guard lock(mutex_);
    remoteAlive_ = alive;
}

bool Status::isRemoteAlive() const {
    const std::lock_guard lock(mutex_);
    return remoteAlive_;
}

void Status::setErrHandlingDisk(const Json::Value& disks) {
    const std::lock_guard lock(mutex_);
    errHandlingDisk_ = disks;
    rememberNames(disks);
}

Json::Value Status::getErrHandlingDisk() const {
    const std::lock_guard lock(mutex_);
    return errHandlingDisk_;
}

void Status::setErrHandlingDiskRemote(const Json::Value& disks) {
    const std::lock_guard lock(mutex_);
    errHandlingDiskRemote_ = disks;
    rememberNames(disks);
}

Json::Value Status::getErrHandlingDiskRemote() const {
    const std::lock_guard lock(mutex_);
    return errHandlingDiskRemote_;
}

std::set<std::string> Status::getErrHandlingDisksSeen() const {
    const std::lock_guard lock(mutex_);
    return errHandlingDisksSeen_;
}

// A peer that makes up new names at every pass must not make this process grow.
void Status::rememberNames(const Json::Value& disks) {
    if (!disks.isArray()) {
        return;
    }
    for (const Json::Value& disk : disks) {
        if (!disk.isString() || disk.asString().size() > nameLengthLimit) {
            continue;
        }
        if (errHandlingDisksSeen_.size() < namesSeenLimit) {
            errHandlingDisksSeen_.insert(disk.asString());
        } else if (!errHandlingDisksSeen_.contains(disk.asString())) {
            namesDropped.raise("too many disk names under error handling: new ones are not kept");
        }
    }
}

}  // namespace KORA::HA::Daemon
