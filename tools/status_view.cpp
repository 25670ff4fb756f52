// SPDX-License-Identifier: Apache-2.0
#include "tools/status_view.h"

#include <algorithm>
#include <iomanip>
#include <ostream>

#include "tools/status_judgement.h"
#include "tools/status_words.h"

namespace korahamonctl {
namespace {

std::string valueText(const Json::Value& status, const char* key, const Paces& paces,
                      const std::string& known) {
    const Json::Value& state = member(member(status, "readings"), key);
    const Json::Value& age = member(state, "ageSeconds");
    const std::string aged =
        age.isNumeric() ? formatted("  (%.0f s ago)", age.asDouble()) : std::string();
    switch (knowledgeOf(status, key, paces)) {
        case Knowledge::known:
            return known + aged;
        case Knowledge::stale:
            return known + aged + "  STALE";
        case Knowledge::unknown:
            break;
    }
    const std::string reason = textOf(member(state, "reason"), "");
    const std::string last =
        age.isNumeric() ? formatted("  (last known %.0f s ago)", age.asDouble()) : std::string();
    return "unknown" + (reason.empty() ? "" : ": " + reason) + last;
}

std::string numberText(const Json::Value& value, const char* form) {
    return value.isNumeric() ? formatted(form, value.asDouble()) : std::string();
}

void line(std::ostream& out, const std::string& label, const std::string& text) {
    out << std::left << std::setw(20) << label << text << '\n';
}

void lineIfAny(std::ostream& out, const char* label, const Json::Value& list) {
    if (hasItems(list)) {
        line(out, label, joined(list));
    }
}

void printArrays(const Json::Value& arrays, std::ostream& out) {
    if (!arrays.isArray()) {
        line(out, "degraded arrays", "unknown");
    }
    lineIfAny(out, "DEGRADED arrays", arrays);
}

void printRestart(const Json::Value& restart, std::ostream& out) {
    if (!restart.isObject()) {
        return;
    }
    const Json::Value& ago = restart["agoSeconds"];
    line(out, "last restart",
         textOf(restart["outcome"], "unknown") + ": " + textOf(restart["reason"], "unknown") +
             (ago.isNumeric() ? formatted("  (%.0f s ago)", ago.asDouble()) : ""));
}

void printDaemon(const Json::Value& status, std::ostream& out) {
    const std::string pid = numberText(member(status, "pid"), "%.0f");
    const std::string up = numberText(member(status, "uptimeSeconds"), "%.0f s");
    line(out, "daemon",
         "version " + textOf(member(status, "softwareVersion"), "unknown") + ", process " +
             (pid.empty() ? "unknown" : pid) + ", up " + (up.empty() ? "unknown" : up));
}

}  // namespace

void printStatus(const Json::Value& status, const Paces& paces, std::ostream& out) {
    line(out, "this node", roleOf(status));
    for (const FlagWords& row : flagWords) {
        line(out, row.label, valueText(status, row.key, paces, wordOf(row, status)));
    }
    line(out, "heartbeat",
         valueText(status, "hbLatency", paces, numberText(member(status, "hbLatency"), "%.3f ms")));
    line(out, "failed packets",
         valueText(status, "netNonOkRate", paces,
                   numberText(member(status, "netNonOkRate"), "%.6f of all")));
    lineIfAny(out, "disks in EH here", member(status, "errHandlingDisks"));
    lineIfAny(out, "disks in EH, peer", member(status, "errHandlingDisksRemote"));
    printArrays(member(status, "degradedArrays"), out);
    const Json::Value& constraints = member(status, "constraints");
    if (constraints.isArray()) {
        for (Json::ArrayIndex i = 0; i < std::min(constraints.size(), shownItems); ++i) {
            line(out, "no restart because", textOf(constraints[i], "?"));
        }
        if (constraints.size() > shownItems) {
            line(out, "", moreOf(constraints));
        }
    } else {
        line(out, "no restart because", "unknown");
    }
    printRestart(member(status, "lastRestart"), out);
    printDaemon(status, out);
}

std::string oneLine(const Json::Value& status, const Paces& paces) {
    std::string text = roleOf(status);
    const Json::Value& reached = member(status, "remoteAlive");
    const bool away = reached.isBool() && !reached.asBool();
    for (const FlagWords& row : flagWords) {
        if (row.ofPeer && away) {
            continue;
        }
        const Knowledge knowledge = knowledgeOf(status, row.key, paces);
        text += std::string("; ") + row.label + ": " +
                (knowledge == Knowledge::unknown ? "unknown" : wordOf(row, status)) +
                (knowledge == Knowledge::stale ? " (STALE)" : "");
    }
    if (!away && knowledgeOf(status, "hbLatency", paces) == Knowledge::known) {
        text += "; " + formatted("%.1f ms", member(status, "hbLatency").asDouble());
    }
    for (const char* key : {"errHandlingDisks", "errHandlingDisksRemote"}) {
        if (hasItems(member(status, key))) {
            text += "; " + joined(member(status, key));
        }
    }
    if (hasItems(member(status, "degradedArrays"))) {
        text += "; DEGRADED: " + joined(member(status, "degradedArrays"));
    }
    return text;
}

}  // namespace korahamonctl
