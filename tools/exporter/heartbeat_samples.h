// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <json/value.h>

#include <vector>

namespace korahamonctl {

/// One measurement of the heartbeat.
struct HeartbeatSample {
    double at = 0;            ///< seconds of the Unix epoch
    double milliseconds = 0;  ///< the time actually waited when most echoes were lost
    double sent = 0;
    double answered = 0;
};

/// The heartbeat's measurements in a history reply, in their order; what is none is left out.
std::vector<HeartbeatSample> heartbeatSamplesIn(const Json::Value& history);

/// The median; of an empty list 0.
double medianMilliseconds(std::vector<HeartbeatSample> samples);

}  // namespace korahamonctl
