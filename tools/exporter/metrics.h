// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "tools/exporter/metric_families.h"
#include "tools/exporter/observation.h"

namespace korahamonctl {

/// The metrics of an observation. A value that is unknown or stale has no sample; that it is so
/// has. Without an answer of the daemon little more than `koraha_up 0` remains.
void addMetrics(const Observation& seen, MetricFamilies& families);

/// The part that the samples of the last hour give; nothing without them.
void addHistoryMetrics(const Json::Value& history, MetricFamilies& families);

}  // namespace korahamonctl
