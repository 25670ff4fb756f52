// SPDX-License-Identifier: Apache-2.0
#include "tools/exporter/pair_view.h"

#include <json/writer.h>

#include <algorithm>
#include <cmath>
#include <map>
#include <vector>

#include "tools/config_document.h"
#include "tools/exporter/heartbeat_samples.h"
#include "tools/exporter/json_access.h"
#include "tools/json_words.h"
#include "tools/visible.h"

namespace korahamonctl {
namespace {

using KORA::HA::Daemon::ConfType;

constexpr std::size_t nameLimit = 64;
constexpr std::size_t textLimit = 300;
constexpr Json::ArrayIndex listLimit = 64;
constexpr double stepSeconds = 30;

constexpr const char* readings[] = {
    // NOLINT(modernize-avoid-c-arrays): its size is what stands here
    "remoteAlive",   "drbdConnected",        "remoteMDResync", "remoteDiskErrHandling",
    "localMDResync", "localDiskErrHandling", "netNonOkRate",   "hbLatency"};

std::string line(const Json::Value& value) {
    Json::StreamWriterBuilder builder;
    builder["indentation"] = "";
    builder["emitUTF8"] = true;
    return Json::writeString(builder, value);
}

Json::Value textOf(const Json::Value& value, std::size_t limit) {
    return value.isString() ? visible(value.asString(), limit) : "";
}

Json::Value numberOf(const Json::Value& value) {
    return value.isNumeric() ? value : Json::Value();
}

// The names in a list; null where there is none.
Json::Value namesIn(const Json::Value& list, std::size_t limit) {
    if (!list.isArray()) {
        return {};
    }
    Json::Value names(Json::arrayValue);
    for (Json::ArrayIndex i = 0; i < std::min(list.size(), listLimit); ++i) {
        names.append(textOf(list[i], limit));
    }
    return names;
}

const char* wordFor(Knowledge knowledge) {
    switch (knowledge) {
        case Knowledge::known:
            return "known";
        case Knowledge::stale:
            return "stale";
        case Knowledge::unknown:
            break;
    }
    return "unknown";
}

Json::Value readingView(const Json::Value& status, const std::string& reading, const Paces& paces) {
    const Json::Value& state = memberOf(memberOf(status, "readings"), reading);
    const Knowledge knowledge = knowledgeOf(status, reading, paces);
    Json::Value view;
    view["state"] = wordFor(knowledge);
    view["value"] = knowledge == Knowledge::unknown ? Json::Value() : memberOf(status, reading);
    view["age"] = numberOf(memberOf(state, "ageSeconds"));
    view["reason"] = textOf(memberOf(state, "reason"), textLimit);
    return view;
}

// Names count for no more than the flag that goes with them.
Json::Value disksOf(const Json::Value& status, const char* list, const char* flag,
                    const Paces& paces) {
    return knowledgeOf(status, flag, paces) == Knowledge::known && memberOf(status, list).isArray()
               ? namesIn(memberOf(status, list), nameLimit)
               : Json::Value(Json::arrayValue);
}

Json::Value concernsView(const Json::Value& status, const Paces& paces) {
    Json::Value list(Json::arrayValue);
    for (const Concern& concern : concernsIn(status, paces)) {
        Json::Value view;
        view["text"] = concern.text;
        view["unknown"] = concern.unknown;
        list.append(view);
    }
    return list;
}

Json::Value restartView(const Json::Value& restart) {
    if (!restart.isObject()) {
        return {};
    }
    Json::Value view;
    view["outcome"] = textOf(restart["outcome"], textLimit);
    view["reason"] = textOf(restart["reason"], textLimit);
    view["ago"] = numberOf(restart["agoSeconds"]);
    return view;
}

struct Step {
    std::vector<HeartbeatSample> samples;
};

Json::Value stepView(double at, const Step& step) {
    double greatest = 0;
    double sent = 0;
    double answered = 0;
    for (const HeartbeatSample& sample : step.samples) {
        greatest = std::max(greatest, sample.milliseconds);
        sent += sample.sent;
        answered += std::min(sample.answered, sample.sent);
    }
    Json::Value view;
    view["at"] = at;
    view["median"] = medianMilliseconds(step.samples);
    view["greatest"] = greatest;
    view["sent"] = sent;
    view["answered"] = answered;
    return view;
}

Json::Value eventsView(const Json::Value& events) {
    Json::Value list(Json::arrayValue);
    for (Json::ArrayIndex i = 0; events.isArray() && i < std::min(events.size(), listLimit); ++i) {
        Json::Value view;
        view["at"] = numberOf(memberOf(events[i], "at"));
        view["text"] = textOf(memberOf(events[i], "text"), textLimit);
        list.append(view);
    }
    return list;
}

}  // namespace

std::string pairView(const Observation& seen) {
    const Json::Value status = seen.status.value_or(Json::objectValue);
    Json::Value view;
    view["up"] = seen.status.has_value();
    view["problem"] = seen.problem;
    view["exporter"] = KORAHA_VERSION;
    const Json::Value& version = memberOf(status, "softwareVersion");
    view["version"] = version.isString() ? textOf(version, nameLimit) : Json::Value();
    view["uptime"] = numberOf(memberOf(status, "uptimeSeconds"));
    const Json::Value& active = memberOf(status, "active");
    view["active"] = active.isBool() ? active : Json::Value();
    for (const char* reading : readings) {
        view["readings"][reading] = readingView(status, reading, seen.paces);
    }
    view["disks"]["this"] = disksOf(status, "errHandlingDisks", "localDiskErrHandling", seen.paces);
    view["disks"]["peer"] =
        disksOf(status, "errHandlingDisksRemote", "remoteDiskErrHandling", seen.paces);
    view["degradedArrays"] = namesIn(memberOf(status, "degradedArrays"), nameLimit);
    view["constraints"] = namesIn(memberOf(status, "constraints"), textLimit);
    view["lastRestart"] = restartView(memberOf(status, "lastRestart"));
    view["concerns"] =
        seen.status ? concernsView(status, seen.paces) : Json::Value(Json::arrayValue);
    view["thresholds"]["latency"] = settingIn(seen.configuration, ConfType::THR_OF_HB_LATENCY);
    view["thresholds"]["rate"] = settingIn(seen.configuration, ConfType::THR_OF_HB_PKT_DROP);
    return line(view);
}

std::string hourView(const Json::Value& history, double now) {
    if (!history.isObject()) {
        return "null";
    }
    constexpr double hour = 3600;
    const std::vector<HeartbeatSample> samples = heartbeatSamplesIn(history);
    std::map<double, Step> steps;
    for (const HeartbeatSample& sample : samples) {
        if (sample.at > now - hour - stepSeconds && sample.at < now + stepSeconds) {
            steps[std::floor(sample.at / stepSeconds) * stepSeconds].samples.push_back(sample);
        }
    }
    Json::Value view;
    view["now"] = now;
    view["width"] = stepSeconds;
    view["median"] = medianMilliseconds(samples);
    view["buckets"] = Json::arrayValue;
    for (const auto& [at, step] : steps) {
        view["buckets"].append(stepView(at, step));
    }
    view["events"] = eventsView(memberOf(history, "events"));
    return line(view);
}

}  // namespace korahamonctl
