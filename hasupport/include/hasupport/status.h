// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <json/value.h>

#include <atomic>
#include <mutex>
#include <set>
#include <string>

#include "hasupport/export.h"

namespace KORA::HA::Daemon {

/// The health of this node and of its peer: one object for the whole process, filled by the check
/// routines, read by the monitors, the records and the two serving routines.
///
/// Every operation may be called from any thread; none blocks for longer than a copy of a disk list
/// takes. How old and how sure each value is the library notes for itself.
class KORAHA_EXPORT Status {
  public:
    Status();
    ~Status();
    Status(const Status&) = delete;
    Status& operator=(const Status&) = delete;

    // Atomic. One writer each, with sequentially consistent stores; any thread may read.
    std::atomic<bool> remoteMDResync;         ///< writer: nonBlockCheck
    std::atomic<bool> remoteDiskErrHandling;  ///< writer: nonBlockCheck
    std::atomic<bool> localMDResync;          ///< writer: mayBlockCheck
    std::atomic<bool> localDiskErrHandling;   ///< writer: nonBlockCheck
    std::atomic<bool> drbdConnected;          ///< writer: busyFlagControl
    std::atomic<float> netNonOkRate;          ///< writer: mayBlockCheck; fraction of all packets
    std::atomic<float> hbLatency;             ///< writer: mayBlockCheck; milliseconds

    void setRemoteAlive(bool alive);
    /// What was last stored; false before the first store.
    bool isRemoteAlive() const;

    /// Stores this node's disk names under error handling, exactly as given; null where there is no
    /// memory for them. Never throws.
    void setErrHandlingDisk(const Json::Value& disks);
    /// A copy of what was last stored; null before the first store.
    Json::Value getErrHandlingDisk() const;

    /// The same for the peer's disks.
    void setErrHandlingDiskRemote(const Json::Value& disks);
    /// A copy of what was last stored: same order, duplicates kept, null before the first store.
    Json::Value getErrHandlingDiskRemote() const;

    /// The names of all disks seen under error handling since the start, on either node; bounded.
    std::set<std::string> getErrHandlingDisksSeen() const;

  private:
    void store(Json::Value& kept, const Json::Value& disks);
    bool rememberNames(const Json::Value& disks);

    mutable std::mutex mutex_;  // guards everything below
    bool remoteAlive_ = false;
    Json::Value errHandlingDisk_;
    Json::Value errHandlingDiskRemote_;
    std::set<std::string> errHandlingDisksSeen_;
};

}  // namespace KORA::HA::Daemon
