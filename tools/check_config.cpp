// SPDX-License-Identifier: Apache-2.0
#include "tools/check_config.h"

#include <json/value.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <numeric>
#include <ostream>

#include "config/config_table.h"
#include "hasupport/io/read_file.h"
#include "tools/config_document.h"
#include "tools/exit_codes.h"
#include "tools/visible.h"

namespace korahamonctl {
namespace {

using KORA::HA::Daemon::configTable;
using KORA::HA::Daemon::ConfType;

constexpr double probeBoundMs = 1500;  // a lost heartbeat reads as the time waited for it
constexpr double practicallyNever = 7.0 * 24 * 3600;
constexpr std::size_t nearEnough = 6;
constexpr std::size_t longestKey = 64;

std::size_t editDistance(const std::string& a, const std::string& b) {
    std::vector<std::size_t> row(b.size() + 1);
    std::iota(row.begin(), row.end(), std::size_t{0});
    for (const char wanted : a) {
        std::size_t diagonal = row[0]++;
        for (std::size_t j = 0; j < b.size(); ++j) {
            const std::size_t replaced = diagonal + (wanted == b[j] ? 0 : 1);
            diagonal = row[j + 1];
            row[j + 1] = std::min({replaced, row[j] + 1, diagonal + 1});
        }
    }
    return row.back();
}

std::string nearestKey(const std::string& unknown) {
    std::string nearest;
    std::size_t least = nearEnough + 1;
    if (unknown.size() > longestKey) {
        return nearest;
    }
    for (const auto& [type, entry] : configTable()) {
        const std::size_t distance = editDistance(unknown, entry.first);
        if (distance < least) {
            least = distance;
            nearest = entry.first;
        }
    }
    return nearest;
}

bool isInterval(ConfType type) {
    return type < 1000;
}
bool isRest(ConfType type) {
    return type >= 1000 && type < 2000;
}

void judgeNumber(ConfType type, const std::string& key, double value, ConfigFindings& findings) {
    const auto problem = [&](const std::string& text) {
        findings.problems.push_back(key + ": " + text);
    };
    if (isInterval(type) && value < 0) {
        problem("a negative interval pauses practically for ever");
    } else if (isInterval(type) && value < 1) {
        problem("an interval of 0 makes the loop run without a pause");
    } else if (isRest(type) && value < 0) {
        problem("a negative count makes the task run once and then practically never");
    } else if ((isInterval(type) || isRest(type)) && value > practicallyNever) {
        problem("so large a value means practically never");
    }
    if (type == KORA::HA::Daemon::THR_OF_HB_LATENCY && value >= probeBoundMs) {
        problem("at or above 1500 ms, the probe's own bound, a dead link reads as normal");
    }
    if (type == KORA::HA::Daemon::THR_OF_HB_PKT_DROP && value > 1) {
        problem("a rate is a fraction and never above 1: this never notifies");
    }
    if (type >= 2000 && type < 3000 && value <= 0) {
        problem("a threshold of 0 or less is reached by every sample");
    }
    if (type == KORA::HA::Daemon::SIZE_MAX_OF_LOG_FILE && value < 1) {
        problem("every log is too large for this size and is rotated at each check");
    }
}

void checkMember(ConfType type, const std::string& key, const Json::Value& value,
                 ConfigFindings& findings) {
    if (value.isArray() || value.isObject()) {
        findings.problems.push_back(key + ": a list or an object ends the daemon when it is read");
    } else if (value.isString()) {
        const auto number = numberIn(type, value.asString());
        if (!number) {
            findings.problems.push_back(key + ": \"" + value.asString() +
                                        "\" spells no number that fits, so the default holds");
            return;
        }
        findings.notes.push_back(key + ": a text that spells a number counts as that number");
        judgeNumber(type, key, *number, findings);
    } else {
        if (value.isNull() || value.isBool()) {
            findings.problems.push_back(key + ": " + (value.isNull() ? "null" : value.asString()) +
                                        " counts as " + std::to_string(value.asInt()) +
                                        ", not as the default");
        } else if (!isReal(type) && !fitsWhole(value.asDouble())) {
            findings.problems.push_back(key + ": out of range; it ends the daemon when it is read");
        } else if (!isReal(type) && !value.isInt()) {
            findings.notes.push_back(key + ": a whole number is read, the fraction is cut off");
        }
        judgeNumber(type, key, value.asDouble(), findings);
    }
}

void checkMembers(const Json::Value& file, ConfigFindings& findings) {
    for (const std::string& key : file.getMemberNames()) {
        const auto known = std::find_if(configTable().begin(), configTable().end(),
                                        [&](const auto& row) { return row.second.first == key; });
        if (known != configTable().end()) {
            checkMember(known->first, key, file[key], findings);
            continue;
        }
        const std::string nearest = nearestKey(key);
        findings.problems.push_back(key.substr(0, 2 * longestKey) +
                                    ": no such setting, it is ignored" +
                                    (nearest.empty() ? "" : "; is " + nearest + " meant?"));
    }
}

}  // namespace

ConfigFindings checkConfigText(const std::string& text) {
    ConfigFindings findings;
    std::string problem;
    const auto document = parseConfig(text, &problem);
    if (!document) {
        findings.problems.push_back("does not parse, so the daemon does not start: " + problem);
    } else if (!document->isObject()) {
        findings.problems.emplace_back("is no JSON object, so every setting keeps its default");
    } else {
        checkMembers(*document, findings);
    }
    return findings;
}

int checkConfigFile(const std::string& path, std::ostream& out, std::ostream& err) {
    const auto text = KORA::HA::Daemon::support::readFile(path);
    const int error = errno;
    const std::string shown = visible(path);
    if (!text && error == ENOENT) {
        out << shown << ": no such file, all settings keep their defaults\n";
        return exitFine;
    }
    if (!text) {
        err << shown << ": cannot be read: " << std::strerror(error) << '\n';
        return exitConcern;
    }
    const ConfigFindings findings = checkConfigText(*text);
    for (const std::string& note : findings.notes) {
        out << shown << ": note: " << visible(note) << '\n';
    }
    for (const std::string& problem : findings.problems) {
        out << shown << ": " << visible(problem) << '\n';
    }
    if (findings.problems.empty()) {
        out << shown << ": fine\n";
    }
    return findings.problems.empty() ? exitFine : exitConcern;
}

}  // namespace korahamonctl
