// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>

#include "tools/exporter/observation.h"

namespace korahamonctl {

/// What the page shows of an observation, in one line of JSON: each reading with how well it is
/// known, names and reasons bounded and visible.
std::string pairView(const Observation& seen);

/// The last hour for the page: the heartbeat in steps of half a minute, and the events; null
/// when the history was not had. `now` is in seconds of the Unix epoch.
std::string hourView(const Json::Value& history, double now);

}  // namespace korahamonctl
