// SPDX-License-Identifier: Apache-2.0
#include "hasupport/status.h"

#include <exception>

#include "hasupport/io/notice.h"

namespace KORA::HA::Daemon {
namespace {

constexpr std::size_t namesSeenLimit = 1024;
constexpr std::size_t nameLengthLimit = 256;

constinit support::Notice namesDropped;

/// What there is no memory for becomes null: the old list would be a lie.
Json::Value copyOf(const Json::Value& disks) try { return disks; } catch (const std::exception&) {
    return {};
}

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
    store(errHandlingDisk_, disks);
}

Json::Value Status::getErrHandlingDisk() const {
    const std::lock_guard lock(mutex_);
    return copyOf(errHandlingDisk_);
}

void Status::setErrHandlingDiskRemote(const Json::Value& disks) {
    store(errHandlingDiskRemote_, disks);
}

Json::Value Status::getErrHandlingDiskRemote() const {
    const std::lock_guard lock(mutex_);
    return copyOf(errHandlingDiskRemote_);
}

std::set<std::string> Status::getErrHandlingDisksSeen() const try {
    const std::lock_guard lock(mutex_);
    return errHandlingDisksSeen_;
} catch (const std::exception&) {
    return {};
}

// The system logger may be stuck: it is told when nobody waits for the lock.
void Status::store(Json::Value& kept, const Json::Value& disks) {
    Json::Value copy = copyOf(disks);
    bool allRemembered = true;
    {
        const std::lock_guard lock(mutex_);
        kept.swap(copy);
        allRemembered = rememberNames(disks);
    }
    if (!allRemembered) {
        namesDropped.raise("too many disk names under error handling: new ones are not kept");
    }
}

// A peer that makes up new names at every pass must not make this process grow. False when
// there were too many.
bool Status::rememberNames(const Json::Value& disks) try {
    if (!disks.isArray()) {
        return true;
    }
    bool all = true;
    for (const Json::Value& disk : disks) {
        if (!disk.isString() || disk.asString().size() > nameLengthLimit) {
            continue;
        }
        if (errHandlingDisksSeen_.size() < namesSeenLimit) {
            errHandlingDisksSeen_.insert(disk.asString());
        } else if (!errHandlingDisksSeen_.contains(disk.asString())) {
            all = false;
        }
    }
    return all;
} catch (const std::exception&) {
    return true;  // a name more or less is not worth the caller's end
}

}  // namespace KORA::HA::Daemon
