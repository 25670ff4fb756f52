// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace KORA::HA::Daemon::support {

/// What decides about one configured DRBD resource (with DRBD 8.4: about one minor).
struct DrbdResource {
    std::string name;           ///< of the resource; with DRBD 8.4 "drbdN"
    bool established = false;   ///< every connection to the peer stands, resynchronising included
    bool upToDate = false;      ///< every local disk is UpToDate
    bool resyncTarget = false;  ///< this node's data is being brought up to date, or about to be
};

/// Bounds of what the parsers keep, far above any real system.
inline constexpr std::size_t drbdResourceLimit = 256;
inline constexpr std::size_t drbdNameLimit = 128;

/// True for the states in which a resync towards this node runs, starts or is paused; the words
/// are the same for a connection of DRBD 8.4 and a replication of DRBD 9.
bool isResyncTarget(std::string_view state);

}  // namespace KORA::HA::Daemon::support
