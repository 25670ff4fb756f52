// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <optional>

#include "hasupport/peer/restart_stamp.h"

namespace KORA::HA::Daemon::support {

// How the restart goes that this node asked for: requested, accepted, left, back. It is followed in
// memory, by a probe that must not wait for a disk, and kept on disk by whoever may.

/// This node is about to ask: the stamp is on disk, or false and nothing is left of it. Waits for
/// the disk.
bool noteRestartAsked(const RestartStamp& stamp);

/// What became of asking; known at once and on disk as soon as that takes it. Waits for the disk.
void noteRestartOutcome(const RestartStamp& stamp);

/// The peer was seen alive or not; called by the liveness probe. Touches no disk: what it noted is
/// kept by the next `keepRestartProgress`, which from then on follows each flush of a log.
void noteRestartProgress(bool peerAlive);

/// Writes what was noted to the stamp on disk; at first, learns from there what an earlier process
/// noted. Waits for the disk. Any thread, but none whose answers somebody waits for.
void keepRestartProgress();

/// The stamp that replaces this one as soon as the disk takes it; nothing when this one is right.
std::optional<RestartStamp> progressSince(const RestartStamp& stamp);

/// As in a process that has just started.
void TEST_forgetRestartProgress();

}  // namespace KORA::HA::Daemon::support
