// SPDX-License-Identifier: Apache-2.0
#include "tools/tune/recording.h"

#include <charconv>
#include <chrono>
#include <cmath>
#include <cstdlib>
#include <optional>
#include <string_view>

#include "tools/json_words.h"
#include "tools/log_filter.h"

namespace korahamonctl::tune {
namespace {

constexpr std::string_view sampleMark = " record=sample ";
constexpr std::string_view recordMark = " record=";

std::int64_t millisecondsOf(LogTime time) {
    return std::chrono::floor<std::chrono::milliseconds>(time).time_since_epoch().count();
}

std::string_view fieldIn(std::string_view line, std::string_view key) {
    const std::string name = " " + std::string(key) + "=";
    const auto at = line.find(name);
    if (at == std::string_view::npos) {
        return {};
    }
    const std::string_view rest = line.substr(at + name.size());
    return rest.substr(0, rest.find(' '));
}

// "2026-11-21T10:03:20.123Z"; the log's own stamps have microseconds.
std::optional<std::int64_t> timeIn(std::string_view text) {
    if (text.empty() || text.back() != 'Z') {
        return std::nullopt;
    }
    const auto time = stampOf(std::string(text.substr(0, text.size() - 1)) + "000Z");
    return time ? std::optional(millisecondsOf(*time)) : std::nullopt;
}

std::optional<double> valueIn(const std::string& text) {
    char* end = nullptr;
    const double value = std::strtod(text.c_str(), &end);
    return text.empty() || *end != '\0' ? std::nullopt : std::optional(value);
}

}  // namespace

void Recording::take(const std::string& record) {
    const auto stamp = stampOf(record);
    const auto mark = record.find(' ');
    const std::string_view rest = std::string_view(record).substr(std::min(mark, record.size()));
    if (!stamp || !rest.starts_with(recordMark)) {
        return;
    }
    if (!rest.starts_with(sampleMark)) {
        if (!runs_.empty()) {
            runs_.back().endMs = std::max(runs_.back().endMs, millisecondsOf(*stamp));
        }
        return;
    }
    const auto at = timeIn(fieldIn(rest, "time"));
    const auto value = valueIn(std::string(fieldIn(rest, "value")));
    const std::string_view number = fieldIn(rest, "sequence");
    const std::string_view kind = fieldIn(rest, "kind");
    std::uint64_t sequence = 0;
    std::from_chars(number.data(), number.data() + number.size(), sequence);
    if (!at || !value || sequence == 0 || (kind != "hbLatency" && kind != "netNonOkRate")) {
        return;
    }
    if (runs_.empty() || sequence <= lastSequence_ || *at < lastAtMs_) {
        runs_.emplace_back();
    } else {
        missing_ += sequence - lastSequence_ - 1;
    }
    lastSequence_ = sequence;
    takeSample({*at, *value}, kind == "hbLatency");
    runs_.back().endMs = std::max(runs_.back().endMs, millisecondsOf(*stamp));
}

void Recording::takeSample(const Sample& sample, bool isLatency) {
    Run& run = currentRun();
    lastAtMs_ = sample.atMs;
    (isLatency ? run.latencies : run.rates).push_back(sample);
    run.endMs = std::max(run.endMs, sample.atMs);
}

Run& Recording::currentRun() {
    if (runs_.empty()) {
        runs_.emplace_back();
    }
    return runs_.back();
}

void Recording::takeHistory(const Json::Value& history, std::int64_t nowMs) {
    // The log cuts a time to milliseconds, the socket rounds it.
    const std::int64_t known = lastAtMs_ + 1;
    const Json::Value& samples = member(history, "samples");
    for (Json::ArrayIndex i = 0; samples.isArray() && i < samples.size(); ++i) {
        const Json::Value& at = member(samples[i], "at");
        const Json::Value& value = member(samples[i], "value");
        const Json::Value& kind = member(samples[i], "kind");
        if (!at.isNumeric() || !value.isNumeric() || !kind.isString()) {
            continue;
        }
        const double milliseconds = at.asDouble() * 1000;
        if (!(milliseconds > static_cast<double>(known)) ||
            milliseconds > static_cast<double>(nowMs)) {
            continue;
        }
        const auto atMs = static_cast<std::int64_t>(std::llround(milliseconds));
        // As the log would have it.
        const double written = std::strtod(formatted("%.6f", value.asDouble()).c_str(), nullptr);
        if (atMs >= lastAtMs_) {
            takeSample({atMs, written}, kind.asString() == "hbLatency");
        }
    }
    if (!runs_.empty()) {
        runs_.back().endMs = std::max(runs_.back().endMs, nowMs);
    }
}

}  // namespace korahamonctl::tune
