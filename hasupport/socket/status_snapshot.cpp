// SPDX-License-Identifier: Apache-2.0
#include "hasupport/socket/status_snapshot.h"

#include <bit>

#include "hasupport/status/readings.h"

namespace KORA::HA::Daemon::support {
namespace {

constexpr std::size_t namesLimit = 1024;
constexpr std::size_t nameLengthLimit = 256;

/// The names in a disk list; what is no string is none.
std::vector<std::string> namesOf(const Json::Value& disks) {
    std::vector<std::string> names;
    if (!disks.isArray()) {
        return names;
    }
    for (const Json::Value& disk : disks) {
        if (disk.isString() && names.size() < namesLimit) {
            names.push_back(disk.asString().substr(0, nameLengthLimit));
        }
    }
    return names;
}

}  // namespace

float StatusSnapshot::netNonOkRate() const {
    return std::bit_cast<float>(netNonOkRateBits);
}

float StatusSnapshot::hbLatency() const {
    return std::bit_cast<float>(hbLatencyBits);
}

StatusSnapshot takeSnapshot(const Status& status) {
    StatusSnapshot now;
    now.remoteAlive = status.isRemoteAlive();
    now.drbdConnected = status.drbdConnected;
    now.remoteMDResync = status.remoteMDResync;
    now.remoteDiskErrHandling = status.remoteDiskErrHandling;
    now.localMDResync = status.localMDResync;
    now.localDiskErrHandling = status.localDiskErrHandling;
    now.netNonOkRateBits = std::bit_cast<std::uint32_t>(status.netNonOkRate.load());
    now.hbLatencyBits = std::bit_cast<std::uint32_t>(status.hbLatency.load());
    now.errHandlingDisks = namesOf(status.getErrHandlingDisk());
    now.errHandlingDisksRemote = namesOf(status.getErrHandlingDiskRemote());
    now.readingsGeneration = readingsGeneration();
    return now;
}

}  // namespace KORA::HA::Daemon::support
