// SPDX-License-Identifier: Apache-2.0
#include "tools/check_command.h"

#include <algorithm>
#include <array>
#include <ostream>
#include <string>
#include <string_view>
#include <vector>

#include "hasupport/io/read_file.h"
#include "tools/config_document.h"
#include "tools/exit_codes.h"
#include "tools/paces.h"
#include "tools/status_judgement.h"
#include "tools/status_query.h"
#include "tools/status_words.h"

namespace korahamonctl {
namespace {

using KORA::HA::Daemon::ConfType;

constexpr std::size_t shownConcerns = 8;

struct Measure {
    const char* reading;
    const char* label;
    const char* form;
    const char* unit;
    const char* tooHigh;
    ConfType threshold;
};

constexpr std::array<Measure, 2> measures = {{
    {"hbLatency", "heartbeat", "%.3f", "ms", "heartbeat too slow", ConfType::THR_OF_HB_LATENCY},
    {"netNonOkRate", "failed_packets", "%.6f", "", "too many failed packets",
     ConfType::THR_OF_HB_PKT_DROP},
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

void judgeMeasures(const Json::Value& status, const Json::Value& configuration, const Paces& paces,
                   std::vector<Finding>& findings, std::string& data) {
    for (const Measure& measure : measures) {
        const double threshold = settingIn(configuration, measure.threshold);
        std::string value = "U";
        if (knowledgeOf(status, measure.reading, paces) == Knowledge::known) {
            const double number = status[measure.reading].asDouble();
            value = formatted(measure.form, number);
            // As the daemon compares: two floats.
            if (static_cast<float>(number) >= static_cast<float>(threshold)) {
                findings.push_back({pluginWarning, measure.tooHigh + (" (" + value) + ")"});
            }
        }
        data += (data.empty() ? "" : " ") + performance(measure, value, threshold);
    }
}

void printLine(std::vector<Finding> findings, const std::string& data, int code,
               std::ostream& out) {
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
    out << "KORAHA " << wordFor(code) << " - " << (text.empty() ? "all is well" : text)
        << (data.empty() ? "" : " | ") << data << '\n';
}

}  // namespace

int checkHealth(const StatusOptions& options, std::ostream& out) {
    const StatusAnswer answer = askStatus(options.socketPath);
    if (!answer.status) {
        printLine({{pluginUnknown, "the daemon does not answer: " + answer.problem}}, "",
                  pluginUnknown, out);
        return pluginUnknown;
    }
    const std::string text =
        KORA::HA::Daemon::support::readFile(options.configuration).value_or(std::string());
    const Paces paces = pacesFrom(text);
    std::vector<Finding> findings;
    for (const Concern& concern : concernsIn(*answer.status, paces)) {
        findings.push_back({concern.unknown ? pluginUnknown : pluginCritical, concern.text});
    }
    std::string data;
    judgeMeasures(*answer.status, parseConfig(text).value_or(Json::objectValue), paces, findings,
                  data);
    int code = pluginOk;
    for (const Finding& finding : findings) {
        code = weight(finding.code) > weight(code) ? finding.code : code;
    }
    printLine(findings, data, code, out);
    return code;
}

}  // namespace korahamonctl
