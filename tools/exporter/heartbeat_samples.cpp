// SPDX-License-Identifier: Apache-2.0
#include "tools/exporter/heartbeat_samples.h"

#include <algorithm>
#include <cstddef>

#include "tools/exporter/json_access.h"
#include "tools/exporter/metrics.h"

namespace korahamonctl {
namespace {

constexpr std::size_t samplesLimit = 8192;
constexpr double secondsPerMillisecond = 1e-3;

bool isHeartbeat(const Json::Value& sample) {
    const Json::Value& kind = memberOf(sample, "kind");
    if (!kind.isString() || kind.asString() != "hbLatency") {
        return false;
    }
    for (const char* number : {"at", "value", "sent", "answered"}) {
        if (!memberOf(sample, number).isNumeric()) {
            return false;
        }
    }
    return true;
}

bool isFaster(const HeartbeatSample& a, const HeartbeatSample& b) {
    return a.milliseconds < b.milliseconds;
}

}  // namespace

std::vector<HeartbeatSample> heartbeatSamplesIn(const Json::Value& history) {
    std::vector<HeartbeatSample> found;
    const Json::Value& samples = memberOf(history, "samples");
    if (!samples.isArray()) {
        return found;
    }
    for (const Json::Value& sample : samples) {
        if (found.size() < samplesLimit && isHeartbeat(sample)) {
            found.push_back({sample["at"].asDouble(), sample["value"].asDouble(),
                             sample["sent"].asDouble(), sample["answered"].asDouble()});
        }
    }
    return found;
}

double medianMilliseconds(std::vector<HeartbeatSample> samples) {
    if (samples.empty()) {
        return 0;
    }
    const auto middle = samples.begin() + static_cast<std::ptrdiff_t>(samples.size() / 2);
    std::nth_element(samples.begin(), middle, samples.end(), isFaster);
    return middle->milliseconds;
}

void addHistoryMetrics(const Json::Value& history, MetricFamilies& families) {
    const std::vector<HeartbeatSample> samples = heartbeatSamplesIn(history);
    if (samples.empty()) {
        return;
    }
    double sent = 0;
    double answered = 0;
    for (const HeartbeatSample& sample : samples) {
        sent += sample.sent;
        answered += std::min(sample.answered, sample.sent);
    }
    const std::size_t echoes = metric("koraha_heartbeat_last_hour_echoes");
    families.add(echoes, answered, {"answered"});
    families.add(echoes, sent - answered, {"lost"});
    families.add(metric("koraha_heartbeat_last_hour_median_seconds"),
                 medianMilliseconds(samples) * secondsPerMillisecond);
    families.add(metric("koraha_heartbeat_last_hour_max_seconds"),
                 std::max_element(samples.begin(), samples.end(), isFaster)->milliseconds *
                     secondsPerMillisecond);
}

}  // namespace korahamonctl
