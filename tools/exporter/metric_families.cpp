// SPDX-License-Identifier: Apache-2.0
#include "tools/exporter/metric_families.h"

#include <prometheus/text_serializer.h>

#include <sstream>
#include <string_view>

namespace korahamonctl {
namespace {

bool isCounter(const Metric& metric) {
    return metric.name.ends_with("_total");
}

std::vector<prometheus::ClientMetric::Label> labelsOf(const Metric& metric,
                                                      const std::vector<std::string>& values) {
    std::vector<prometheus::ClientMetric::Label> labels;
    std::string_view names = metric.labels;
    for (const std::string& value : values) {
        const auto end = names.find(' ');
        labels.push_back({std::string(names.substr(0, end)), value});
        names.remove_prefix(end == std::string_view::npos ? names.size() : end + 1);
    }
    return labels;
}

}  // namespace

void MetricFamilies::add(std::size_t metric, double value, const std::vector<std::string>& labels) {
    if (!taken_.at(metric).insert(labels).second) {
        return;
    }
    prometheus::ClientMetric sample;
    sample.label = labelsOf(metricTable[metric], labels);
    (isCounter(metricTable[metric]) ? sample.counter.value : sample.gauge.value) = value;
    samples_.at(metric).push_back(sample);
}

std::string MetricFamilies::text() const {
    std::vector<prometheus::MetricFamily> families;
    for (std::size_t i = 0; i < samples_.size(); ++i) {
        if (!samples_[i].empty()) {
            const Metric& metric = metricTable[i];
            families.push_back({std::string(metric.name), std::string(metric.help),
                                isCounter(metric) ? prometheus::MetricType::Counter
                                                  : prometheus::MetricType::Gauge,
                                samples_[i]});
        }
    }
    std::ostringstream out;
    prometheus::TextSerializer().Serialize(out, families);
    return out.str();
}

}  // namespace korahamonctl
