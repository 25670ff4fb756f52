// SPDX-License-Identifier: Apache-2.0
#include "tools/tune_command.h"

#include <algorithm>
#include <chrono>
#include <cstring>
#include <ctime>
#include <ostream>
#include <vector>

#include "hasupport/io/read_file.h"
#include "tools/config_document.h"
#include "tools/exit_codes.h"
#include "tools/json_words.h"
#include "tools/log_records.h"
#include "tools/log_source.h"
#include "tools/status_query.h"
#include "tools/tune/recording.h"
#include "tools/tune/report.h"
#include "tools/visible.h"

namespace korahamonctl {
namespace {

using KORA::HA::Daemon::ConfType;

constexpr int answerTimeoutMs = 3000;
constexpr double passLatenessMs = 100;  // how much longer than its pause a pass may take
constexpr double neverMs = 1e14;

std::int64_t nowMs() {
    using std::chrono::milliseconds;
    return std::chrono::floor<milliseconds>(std::chrono::system_clock::now())
        .time_since_epoch()
        .count();
}

std::int64_t sinceMs(const TuneOptions& options) {
    return options.since ? std::chrono::floor<std::chrono::milliseconds>(*options.since)
                               .time_since_epoch()
                               .count()
                         : INT64_MIN;
}

tune::Recording readRecording(const StatusOptions& status, const TuneOptions& options,
                              std::string& problem) {
    tune::Recording recording;
    LogSource source(options.path);
    if (!source.isThere()) {
        problem = visible(options.path) + ": " + std::strerror(source.error());
    }
    LogRecords records([&](const std::string& record) { recording.take(record); });
    source.readAll([&](std::string_view bytes) { records.feed(bytes); });
    records.end();
    if (!options.onlyThatFile) {
        const StatusAnswer answer = askDaemon(status.socketPath, "history", answerTimeoutMs);
        if (answer.status) {
            recording.takeHistory(*answer.status, nowMs());
        }
    }
    return recording;
}

struct Measure {
    const char* name;
    const char* unit;
    ConfType threshold;
    ConfType tolerance;
    ConfType rest;
    std::vector<tune::Sample> tune::Run::*samples;
};

constexpr Measure latencyMeasure = {"latency",
                                    " ms",
                                    ConfType::THR_OF_HB_LATENCY,
                                    ConfType::TOLERANCE_TIMES_OF_HB_LATENCY,
                                    ConfType::NUM_OF_REST_MON_HB_LATENCY,
                                    &tune::Run::latencies};
constexpr Measure packetMeasure = {"failed packets",
                                   "",
                                   ConfType::THR_OF_HB_PKT_DROP,
                                   ConfType::TOLERANCE_TIMES_OF_PKT_DROP,
                                   ConfType::NUM_OF_REST_MON_PKT_DROP,
                                   &tune::Run::rates};

// The gaps between two judgements, in milliseconds; nothing when there practically are none.
std::optional<tune::Judging> judgingBy(const Json::Value& configuration, const Measure& measure,
                                       const TuneTrial& trial, const std::string& role) {
    const auto setting = [&](ConfType type) { return settingIn(configuration, type); };
    const double active = setting(ConfType::BASE_INTERVAL_ACTIVE);
    const double passive = setting(ConfType::BASE_INTERVAL_PASSIVE);
    const double shorter = role == "any"      ? std::min(active, passive)
                           : role == "active" ? active
                                              : passive;
    const double longer = role == "any" ? std::max(active, passive) : shorter;
    const double rest = trial.rest ? *trial.rest : setting(measure.rest);
    const double longest = (rest + 1) * (longer * 1000 + passLatenessMs);
    if (rest < 0 || shorter < 0 || longest > neverMs) {
        return std::nullopt;
    }
    tune::Judging judging;
    judging.threshold = trial.threshold.value_or(setting(measure.threshold));
    judging.tolerance = trial.tolerance.value_or(static_cast<int>(setting(measure.tolerance)));
    judging.shortestGapMs =
        std::max<std::int64_t>(static_cast<std::int64_t>((rest + 1) * shorter * 1000), 1);
    judging.longestGapMs =
        std::max<std::int64_t>(static_cast<std::int64_t>(longest), judging.shortestGapMs);
    return judging;
}

}  // namespace

int tuneSettings(const StatusOptions& status, const TuneOptions& options, std::ostream& out,
                 std::ostream& err) {
    std::string problem;
    const tune::Recording recording = readRecording(status, options, problem);
    const Json::Value configuration =
        parseConfig(KORA::HA::Daemon::support::readFile(status.configuration).value_or(""))
            .value_or(Json::objectValue);
    bool any = false;
    for (const Measure* measure : {&latencyMeasure, &packetMeasure}) {
        std::vector<tune::Series> series;
        for (const tune::Run& run : recording.runs()) {
            tune::Series each = {run.*(measure->samples), run.endMs};
            std::erase_if(each.samples, [&](const tune::Sample& sample) {
                return sample.atMs < sinceMs(options);
            });
            if (!each.samples.empty()) {
                series.push_back(std::move(each));
            }
        }
        any = any || !series.empty();
        const TuneTrial& trial = measure == &latencyMeasure ? options.latency : options.packets;
        tune::printReport({measure->name, measure->unit}, series,
                          judgingBy(configuration, *measure, trial, options.role), out);
    }
    if (!any) {
        err << "korahamonctl: no samples are recorded" << (problem.empty() ? "" : ": " + problem)
            << '\n';
        return exitConcern;
    }
    if (recording.missing() > 0) {
        out << recording.missing() << (recording.missing() == 1 ? " sample was" : " samples were")
            << " measured but not recorded; what would have come of that is not known\n";
    }
    return exitFine;
}

}  // namespace korahamonctl
