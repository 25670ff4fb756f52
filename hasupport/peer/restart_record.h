// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <chrono>
#include <optional>
#include <string>

namespace KORA::HA::Daemon::support {

/// The last restart of the peer that this node asked for, as its stamp on disk tells it, and what
/// the disk has not taken yet. Times are wall time except `askedAgo`, which survives clock steps
/// where the boot is still the same.
struct RestartRecord {
    std::chrono::system_clock::time_point askedAt;
    std::chrono::seconds askedAgo{0};
    std::string reason;
    std::string outcome;  ///< "requested", "accepted", "left", "back", or why it failed
    std::optional<std::chrono::system_clock::time_point> leftAt;
    std::optional<std::chrono::system_clock::time_point> backAt;
};

/// The last record, or nothing when this node never asked for a restart. Reads one small file; any
/// thread.
std::optional<RestartRecord> lastRestart();

/// True when this node asked for a restart within `span`; also when the stamp cannot be read, since
/// then nobody knows.
bool restartAskedWithin(std::chrono::seconds span);

}  // namespace KORA::HA::Daemon::support
