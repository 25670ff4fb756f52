// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <array>
#include <chrono>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include "hasupport/io/deadline.h"

namespace KORA::HA::Daemon::support {

/// The groups of values whose validity and age the library keeps. A probe notes its own outcome
/// where it runs, so that the status can tell "false" from "unknown".
enum class Reading : std::uint8_t {
    remoteAlive,
    drbdConnected,
    remoteMDResync,
    remoteDiskErrHandling,
    localMDResync,
    localDiskErrHandling,
    netNonOkRate,
    hbLatency,
};
inline constexpr std::size_t readingCount = 8;

/// The member name that the status reply uses for the group, such as "hbLatency".
std::string_view readingName(Reading reading);

struct ReadingState {
    bool valid = false;  ///< the last attempt gave a value
    std::string reason;  ///< why the last attempt failed; "not measured yet" before the first
    std::optional<SteadyClock::time_point> lastGood;
    std::optional<SteadyClock::time_point> lastAttempt;
};

/// A probe gave a value just now. Any thread, never blocks for long, never throws.
void noteGood(Reading reading);
/// A probe could not give a value just now, because of `reason` (bounded, made printable).
void noteFailed(Reading reading, std::string_view reason);

ReadingState readingState(Reading reading);

/// Grows by one with every change of a group's validity or reason.
std::uint64_t readingsGeneration();

}  // namespace KORA::HA::Daemon::support
