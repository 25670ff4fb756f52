// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "hasupport/status.h"

namespace KORA::HA::Daemon::support {

/// The health record at one moment, to be compared with the one before.
struct StatusSnapshot {
    bool remoteAlive = false;
    bool drbdConnected = false;
    bool remoteMDResync = false;
    bool remoteDiskErrHandling = false;
    bool localMDResync = false;
    bool localDiskErrHandling = false;
    std::uint32_t netNonOkRateBits = 0;  // bits, since NaN is unlike itself
    std::uint32_t hbLatencyBits = 0;
    std::vector<std::string> errHandlingDisks;
    std::vector<std::string> errHandlingDisksRemote;
    std::uint64_t readingsGeneration = 0;

    float netNonOkRate() const;
    float hbLatency() const;
    bool operator==(const StatusSnapshot&) const = default;
};

StatusSnapshot takeSnapshot(const Status& status);

}  // namespace KORA::HA::Daemon::support
