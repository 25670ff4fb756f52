// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <prometheus/metric_family.h>

#include <array>
#include <cstddef>
#include <set>
#include <string>
#include <vector>

#include "tools/exporter/metric_catalogue.h"

namespace korahamonctl {

/// Collects the samples of one scrape by metric.
class MetricFamilies {
  public:
    /// One sample; `labels` are the values for the metric's label names, in their order. A second
    /// sample with the same labels is dropped: with it the whole scrape would be refused.
    void add(std::size_t metric, double value, const std::vector<std::string>& labels = {});
    void add(std::size_t metric, bool value, const std::vector<std::string>& labels = {}) {
        add(metric, value ? 1.0 : 0.0, labels);
    }

    /// Prometheus' text format, in the order of the table; a metric without samples is not there.
    std::string text() const;

  private:
    std::array<std::vector<prometheus::ClientMetric>, std::size(metricTable)> samples_;
    std::array<std::set<std::vector<std::string>>, std::size(metricTable)> taken_;
};

}  // namespace korahamonctl
