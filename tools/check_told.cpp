// SPDX-License-Identifier: Apache-2.0
#include <algorithm>
#include <array>
#include <string>
#include <string_view>
#include <vector>

#include "tools/exit_codes.h"
#include "tools/status_judgement.h"
#include "tools/status_words.h"
#include "tools/told.h"

namespace korahamonctl {
namespace {

constexpr std::size_t shownConcerns = 8;

struct Measure {
    const char* reading;
    const char* label;
    const char* form;
    const char* unit;
    const char* tooHigh;
    double Criteria::*threshold;
};

constexpr std::array<Measure, 2> measures = {{
    {"hbLatency", "heartbeat", "%.3f", "ms", "heartbeat too slow", &Criteria::latencyThreshold},
    {"netNonOkRate", "failed_packets", "%.6f", "", "too many failed packets",
     &Criteria::rateThreshold},
}};

struct Finding {
    int code = pluginOk;
    std::string text;
};

// What is wrong outweighs what is not known, and that outweighs what is only slow.
int weight(int code) {
    constexpr std::array<int, 4> weights = {0, 1, 3, 2};
    return weights.at(static_cast<std::size_t>(code));
}

const char* wordFor(int code) {
    constexpr std::array<const char*, 4> words = {"OK", "WARNING", "CRITICAL", "UNKNOWN"};
    return words.at(static_cast<std::size_t>(code));
}

// A value, its warning threshold, no critical one, and its least.
std::string performance(const Measure& measure, const std::string& value, double threshold) {
    return std::string(measure.label) + "=" + value + (value == "U" ? "" : measure.unit) + ";" +
           formatted("%g", threshold) + ";;0";
}

void judgeMeasures(const HealthRecord& record, const Criteria& criteria,
                   std::vector<Finding>& findings, std::string& data) {
    for (const Measure& measure : measures) {
        const double threshold = criteria.*measure.threshold;
        std::string value = "U";
        const Reading& reading = record.reading(measure.reading);
        if (knowledgeOf(reading, measure.reading, criteria.paces) == Knowledge::known) {
            const double number = numberOf(reading);
            value = formatted(measure.form, number);
            // As the daemon compares: two floats.
            if (static_cast<float>(number) >= static_cast<float>(threshold)) {
                findings.push_back({pluginWarning, measure.tooHigh + (" (" + value) + ")"});
            }
        }
        data += (data.empty() ? "" : " ") + performance(measure, value, threshold);
    }
}

Told lineTold(std::vector<Finding> findings, const std::string& data, int code) {
    std::stable_sort(findings.begin(), findings.end(), [](const Finding& a, const Finding& b) {
        return weight(a.code) > weight(b.code);
    });
    std::string text;
    for (std::size_t i = 0; i < std::min(findings.size(), shownConcerns); ++i) {
        text += (i == 0 ? "" : ", ") + findings[i].text;
    }
    if (findings.size() > shownConcerns) {
        text += ", and " + std::to_string(findings.size() - shownConcerns) + " more";
    }
    std::replace(text.begin(), text.end(), '|', '/');  // the data begin behind the first of these
    return {std::string("KORAHA ") + wordFor(code) + " - " + (text.empty() ? "all is well" : text) +
                (data.empty() ? "" : " | ") + data + "\n",
            "", code};
}

}  // namespace

Told checkTold(const HealthRecord& record, const Criteria& criteria) {
    std::vector<Finding> findings;
    for (const Concern& concern : concernsIn(record, criteria.paces)) {
        findings.push_back({concern.unknown ? pluginUnknown : pluginCritical, concern.text});
    }
    std::string data;
    judgeMeasures(record, criteria, findings, data);
    int code = pluginOk;
    for (const Finding& finding : findings) {
        code = weight(finding.code) > weight(code) ? finding.code : code;
    }
    return lineTold(std::move(findings), data, code);
}

Told checkUntold(const std::string& problem) {
    return lineTold({{pluginUnknown, "the daemon does not answer: " + problem}}, "", pluginUnknown);
}

}  // namespace korahamonctl
