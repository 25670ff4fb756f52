// SPDX-License-Identifier: Apache-2.0
#include "scene.h"

#include <json/reader.h>

#include <sstream>

#include "tests/tools/records.h"
#include "tools/configured_paces.h"

namespace koraha::test {

korahamonctl::watch::Scene calmScene() {
    constexpr double now = 1'795'255'400;
    korahamonctl::watch::Scene scene;
    scene.host = "node1";
    scene.status = healthyStatus();
    scene.statusAge = 1;
    scene.now = now;
    scene.paces = korahamonctl::pacesFrom("{}");
    scene.latencyThreshold = 100;
    scene.rateThreshold = 0.001;
    Json::Value& samples = scene.history["samples"];
    samples.append(latencySample(now - 260, 0.05, 5, 5));
    samples.append(latencySample(now - 200, 0.3, 5, 5));
    samples.append(latencySample(now - 140, 1500.0, 5, 0));
    samples.append(latencySample(now - 80, 150.0, 5, 3));
    samples.append(latencySample(now - 70, 0.4, 5, 3));
    samples.append(rateSample(now - 10, 0.0));
    Json::Value& event = scene.history["events"][0];
    event["at"] = now - 100;
    event["text"] = "the peer is back from its restart";
    scene.log = {
        "2026-11-21T10:02:01.000000Z koraharemotemond:87 Create flag: /tmp/ha/ha_remote_busy",
        "2026-11-21T10:03:19.123456Z libkorahadaemon: a line of another tag"};
    return scene;
}

Json::Value latencySample(double at, const Json::Value& value, int sent, int answered) {
    Json::Value sample = rateSample(at, value);
    sample["kind"] = "hbLatency";
    sample["sent"] = sent;
    sample["answered"] = answered;
    return sample;
}

Json::Value rateSample(double at, const Json::Value& value) {
    Json::Value sample;
    sample["at"] = at;
    sample["kind"] = "netNonOkRate";
    sample["value"] = value;
    return sample;
}

Json::Value parsed(const std::string& text) {
    Json::Value value;
    std::istringstream(text) >> value;
    return value;
}

std::string textOf(const korahamonctl::watch::Canvas& page) {
    std::string text;
    for (int row = 0; row < page.height(); ++row) {
        text += page.text(row) + "\n";
    }
    return text;
}

}  // namespace koraha::test
