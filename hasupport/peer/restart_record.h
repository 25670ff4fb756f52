// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <chrono>
#include <optional>
#include <string>

namespace KORA::HA::Daemon::support {

/// The last restart of the peer that this node asked for, as its stamp on disk tells it. Times are
/// wall time except `askedAgo`, which survives clock steps where the boot is still the same.
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

/// Notes, for the record, that the peer was seen alive or not; called by the liveness probe.
void noteRestartProgress(bool peerAlive);

/// A restart was just asked for: its progress is watched from now on.
void expectRestartProgress();

}  // namespace KORA::HA::Daemon::support
