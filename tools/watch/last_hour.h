// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <json/value.h>

#include <optional>
#include <vector>

namespace korahamonctl::watch {

/// What was measured in one part of the last hour. The worst counts.
struct Slot {
    std::optional<double> latency;  ///< milliseconds
    bool withoutRoundTrip = false;  ///< a sample of which most echoes were lost
    double sent = 0;
    double answered = 0;
    std::optional<double> rate;  ///< failed packets, a fraction
};

/// The last hour in parts of equal length, the oldest first, and what stands out in it.
struct LastHour {
    int secondsEach = 60;
    std::vector<Slot> slots;
    std::size_t latencies = 0;
    std::size_t withoutRoundTrip = 0;
    std::optional<double> least;  ///< of the latencies with a round trip
    std::optional<double> most;
};

/// From a reply to "history"; whatever is not as it should be counts as not measured. The parts
/// begin at whole multiples of their length, so that they stay while the time passes.
LastHour lastHour(const Json::Value& history, double nowSeconds, int parts);

}  // namespace korahamonctl::watch
