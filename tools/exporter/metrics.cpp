// SPDX-License-Identifier: Apache-2.0
#include "tools/exporter/metrics.h"

#include <algorithm>
#include <array>
#include <string>

#include "tools/config_document.h"
#include "tools/exporter/json_access.h"
#include "tools/json_words.h"
#include "tools/visible.h"

namespace korahamonctl {
namespace {

using KORA::HA::Daemon::ConfType;

constexpr double millisecond = 1e-3;
constexpr std::size_t labelLimit = 64;
constexpr Json::ArrayIndex namesLimit = 256;

struct Value {
    const char* reading;
    std::size_t metric;
    const char* side;  // its label, for those that have one
    double unit;
};

constexpr std::array<Value, 8> values = {{
    {"remoteAlive", metric("koraha_peer_alive"), nullptr, 1},
    {"drbdConnected", metric("koraha_drbd_connected"), nullptr, 1},
    {"localMDResync", metric("koraha_md_resync"), "this", 1},
    {"remoteMDResync", metric("koraha_md_resync"), "peer", 1},
    {"localDiskErrHandling", metric("koraha_disk_error_handling"), "this", 1},
    {"remoteDiskErrHandling", metric("koraha_disk_error_handling"), "peer", 1},
    {"netNonOkRate", metric("koraha_interface_failed_packets_ratio"), nullptr, 1},
    {"hbLatency", metric("koraha_heartbeat_latency_seconds"), nullptr, millisecond},
}};

std::string labelOf(const Json::Value& text) {
    return text.isString() ? visible(text.asString(), labelLimit) : "?";
}

void addNumber(std::size_t name, const Json::Value& number, MetricFamilies& families) {
    if (number.isNumeric()) {
        families.add(name, number.asDouble());
    }
}

void addReading(const Observation& seen, const Value& value, MetricFamilies& families) {
    const Json::Value& status = *seen.status;
    const std::string reading = value.reading;
    const Json::Value& state = memberOf(memberOf(status, "readings"), reading);
    const Knowledge knowledge = knowledgeOf(status, reading, seen.paces);
    const Json::Value& number = status[reading];
    if (knowledge == Knowledge::known) {
        const double known = number.isBool() ? (number.asBool() ? 1 : 0) : number.asDouble();
        families.add(value.metric, known * value.unit,
                     value.side == nullptr ? std::vector<std::string>()
                                           : std::vector<std::string>{value.side});
    }
    const double bound = staleAfter(reading, seen.paces);
    const Json::Value& age = memberOf(state, "ageSeconds");
    families.add(metric("koraha_reading_valid"), knowledge != Knowledge::unknown, {reading});
    families.add(metric("koraha_reading_stale"), !age.isNumeric() || age.asDouble() > bound,
                 {reading});
    families.add(metric("koraha_reading_stale_after_seconds"), bound, {reading});
    if (age.isNumeric()) {
        families.add(metric("koraha_reading_age_seconds"), age.asDouble(), {reading});
    }
    if (const Json::Value& attempt = memberOf(state, "attemptAgeSeconds"); attempt.isNumeric()) {
        families.add(metric("koraha_reading_attempt_age_seconds"), attempt.asDouble(), {reading});
    }
}

// The names count for no more than the flag that goes with them.
void addDisks(const Observation& seen, const char* list, const char* flag, const char* side,
              MetricFamilies& families) {
    const Json::Value& names = memberOf(*seen.status, list);
    if (!names.isArray() || knowledgeOf(*seen.status, flag, seen.paces) != Knowledge::known) {
        return;
    }
    for (Json::ArrayIndex i = 0; i < std::min(names.size(), namesLimit); ++i) {
        families.add(metric("koraha_disk_in_error_handling"), true, {side, labelOf(names[i])});
    }
}

void addArrays(const Json::Value& status, MetricFamilies& families) {
    const Json::Value& names = memberOf(status, "degradedArrays");
    if (!names.isArray()) {
        return;
    }
    families.add(metric("koraha_md_degraded_arrays"), static_cast<double>(names.size()));
    for (Json::ArrayIndex i = 0; i < std::min(names.size(), namesLimit); ++i) {
        families.add(metric("koraha_md_array_degraded"), true, {labelOf(names[i])});
    }
}

void addRestart(const Json::Value& status, MetricFamilies& families) {
    if (const Json::Value& reasons = memberOf(status, "constraints"); reasons.isArray()) {
        families.add(metric("koraha_restart_constraints"), static_cast<double>(reasons.size()));
    }
    const Json::Value& restart = memberOf(status, "lastRestart");
    if (!restart.isObject()) {
        return;
    }
    addNumber(metric("koraha_last_restart_timestamp_seconds"), restart["at"], families);
    const std::string outcome = labelOf(restart["outcome"]);
    bool ordinary = false;
    for (const char* step : {"requested", "accepted", "left", "back"}) {
        ordinary = ordinary || outcome == step;
        families.add(metric("koraha_last_restart_outcome"), outcome == step, {step});
    }
    families.add(metric("koraha_last_restart_outcome"), !ordinary, {"failed"});
}

void addConcerns(const Observation& seen, MetricFamilies& families) {
    double wrong = 0;
    double unknown = 0;
    for (const Concern& concern : concernsIn(*seen.status, seen.paces)) {
        (concern.unknown ? unknown : wrong) += 1;
    }
    families.add(metric("koraha_concerns"), wrong, {"wrong"});
    families.add(metric("koraha_concerns"), unknown, {"unknown"});
}

void addDaemon(const Json::Value& status, MetricFamilies& families) {
    const Json::Value& version = memberOf(status, "softwareVersion");
    families.add(metric("koraha_build_info"), true, {version.isString() ? labelOf(version) : ""});
    addNumber(metric("koraha_uptime_seconds"), memberOf(status, "uptimeSeconds"), families);
    if (const Json::Value& active = memberOf(status, "active"); active.isBool()) {
        families.add(metric("koraha_active"), active.asBool());
    }
}

}  // namespace

void addMetrics(const Observation& seen, MetricFamilies& families) {
    families.add(metric("koraha_up"), seen.status.has_value());
    families.add(metric("koraha_exporter_build_info"), true, {KORAHA_VERSION});
    families.add(metric("koraha_status_answer_seconds"), seen.answerSeconds);
    families.add(metric("koraha_interface_failed_packets_threshold_ratio"),
                 settingIn(seen.configuration, ConfType::THR_OF_HB_PKT_DROP));
    families.add(metric("koraha_heartbeat_latency_threshold_seconds"),
                 settingIn(seen.configuration, ConfType::THR_OF_HB_LATENCY) * millisecond);
    if (!seen.status) {
        return;
    }
    addDaemon(*seen.status, families);
    addConcerns(seen, families);
    for (const Value& value : values) {
        addReading(seen, value, families);
    }
    addDisks(seen, "errHandlingDisks", "localDiskErrHandling", "this", families);
    addDisks(seen, "errHandlingDisksRemote", "remoteDiskErrHandling", "peer", families);
    addArrays(*seen.status, families);
    addRestart(*seen.status, families);
    addHistoryMetrics(seen.history, families);
}

}  // namespace korahamonctl
