// SPDX-License-Identifier: Apache-2.0
#include "tools/exporter/exporter.h"

#include <memory>
#include <utility>

#include "tools/exporter/event_stream.h"
#include "tools/exporter/metrics.h"

namespace korahamonctl {
namespace {

constexpr int unavailable = 503;
constexpr const char* metricsType = "text/plain; version=0.0.4; charset=utf-8";

}  // namespace

Exporter::Exporter(const StatusOptions& status, const std::vector<std::string>& allowedHosts)
    : observer_(status), door_(HostCheck(allowedHosts)) {
    door_.Get("/metrics", [this](const httplib::Request&, httplib::Response& response) {
        response.set_content(metricsText(), metricsType);
    });
    door_.Get("/", [this](const httplib::Request&, httplib::Response& response) {
        response.set_header("Content-Security-Policy", page_.policy);
        response.set_content(page_.html, "text/html; charset=utf-8");
    });
    door_.Get("/events", [this](const httplib::Request& request, httplib::Response& response) {
        if (request.method == "GET") {
            follow(response);
        }
    });
}

void Exporter::follow(httplib::Response& response) {
    auto place = StreamPlace::take(streams_);
    if (!place) {
        ++door_.refused.stream;
        response.status = unavailable;
        response.set_header("Retry-After", "5");
        return;
    }
    auto stream = std::make_shared<EventStream>(std::move(place), observer_, stopping_);
    response.set_chunked_content_provider(
        "text/event-stream",
        [stream](std::size_t, httplib::DataSink& sink) { return stream->sendNext(sink); });
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
