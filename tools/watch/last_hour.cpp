// SPDX-License-Identifier: Apache-2.0
#include "tools/watch/last_hour.h"

#include <algorithm>
#include <cmath>

#include "tools/json_words.h"

namespace korahamonctl::watch {
namespace {

constexpr int hourSeconds = 3600;

std::optional<double> numberOf(const Json::Value& value) {
    return value.isNumeric() && std::isfinite(value.asDouble()) ? std::optional(value.asDouble())
                                                                : std::nullopt;
}

void keepWorst(std::optional<double>& worst, const std::optional<double>& value) {
    if (value) {
        worst = std::max(worst.value_or(*value), *value);
    }
}

void addLatency(LastHour& hour, Slot& slot, const Json::Value& sample) {
    const auto value = numberOf(member(sample, "value"));
    const double sent = std::max(numberOf(member(sample, "sent")).value_or(0), 0.0);
    const double answered = std::clamp(numberOf(member(sample, "answered")).value_or(0), 0.0, sent);
    hour.latencies += 1;
    slot.sent += sent;
    slot.answered += answered;
    if (!value || answered * 2 <= sent) {
        slot.withoutRoundTrip = true;
        hour.withoutRoundTrip += 1;
        return;
    }
    keepWorst(slot.latency, value);
    keepWorst(hour.most, value);
    hour.least = std::min(hour.least.value_or(*value), *value);
}

}  // namespace

LastHour lastHour(const Json::Value& history, double nowSeconds, int parts) {
    LastHour hour;
    hour.secondsEach = hourSeconds / std::clamp(parts, 1, hourSeconds);
    hour.slots.resize(static_cast<std::size_t>(std::max(parts, 1)));
    const auto partOf = [&](double at) { return std::floor(at / hour.secondsEach); };
    const double first = partOf(nowSeconds) - static_cast<double>(hour.slots.size()) + 1;
    const Json::Value& samples = member(history, "samples");
    for (Json::ArrayIndex i = 0; samples.isArray() && i < samples.size(); ++i) {
        const Json::Value& sample = samples[i];
        const double part = partOf(numberOf(member(sample, "at")).value_or(-1)) - first;
        if (!(part >= 0 && part < static_cast<double>(hour.slots.size()))) {
            continue;
        }
        Slot& slot = hour.slots[static_cast<std::size_t>(part)];
        if (member(sample, "kind") == Json::Value("hbLatency")) {
            addLatency(hour, slot, sample);
        } else if (member(sample, "kind") == Json::Value("netNonOkRate")) {
            keepWorst(slot.rate, numberOf(member(sample, "value")));
        }
    }
    return hour;
}

}  // namespace korahamonctl::watch
