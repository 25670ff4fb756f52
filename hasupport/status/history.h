// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace KORA::HA::Daemon::support {

/// What was measured: milliseconds for the heartbeat, a fraction for the rate.
enum class SampleKind : std::uint8_t { hbLatency, netNonOkRate };

struct Sample {
    std::uint64_t sequence = 0;  ///< counts all samples since the start, from 1
    std::chrono::system_clock::time_point at;
    SampleKind kind = SampleKind::hbLatency;
    float value = 0.0F;
    std::uint8_t sent = 0;  ///< echoes sent and answered; 0 for a rate
    std::uint8_t answered = 0;
};

struct Event {
    std::uint64_t sequence = 0;
    std::chrono::system_clock::time_point at;
    std::string text;
};

/// Keeps the samples of the last 60 minutes (8,192 at most: both kinds once a second) and the last
/// 64 events, times in milliseconds. Any thread; never throws: what finds no memory is not kept.
void noteSample(SampleKind kind, float value, unsigned sent = 0, unsigned answered = 0);
void noteEvent(std::string_view text);

/// The kept samples with a sequence above `after`, oldest first, `limit` of them at most.
std::vector<Sample> samplesAfter(std::uint64_t after, std::size_t limit = SIZE_MAX);
std::vector<Event> recentEvents();

}  // namespace KORA::HA::Daemon::support
