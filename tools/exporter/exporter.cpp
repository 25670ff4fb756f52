// SPDX-License-Identifier: Apache-2.0
#include "tools/exporter/exporter.h"

#include "tools/exporter/metrics.h"

namespace korahamonctl {
namespace {

constexpr const char* metricsType = "text/plain; version=0.0.4; charset=utf-8";

}  // namespace

Exporter::Exporter(const StatusOptions& status, const std::vector<std::string>& allowedHosts)
    : observer_(status), door_(HostCheck(allowedHosts)) {
    door_.Get("/metrics", [this](const httplib::Request&, httplib::Response& response) {
        response.set_content(metricsText(), metricsType);
    });
}

int Exporter::bind(const ListenAddress& address) {
    return door_.open(address);
}

void Exporter::serve() {
    door_.listen_after_bind();
}

void Exporter::stop() {
    stopping_ = true;
    door_.stop();
}

std::string Exporter::metricsText() {
    MetricFamilies families;
    addMetrics(observer_.look(), families);
    families.add(metric("koraha_exporter_streams"), static_cast<double>(streams_.load()));
    const std::size_t refused = metric("koraha_exporter_refused_requests_total");
    families.add(refused, static_cast<double>(door_.refused.busy.load()), {"busy"});
    families.add(refused, static_cast<double>(door_.refused.host.load()), {"host"});
    families.add(refused, static_cast<double>(door_.refused.stream.load()), {"stream"});
    return families.text();
}

}  // namespace korahamonctl
