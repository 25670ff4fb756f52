#include "tools/status_view.h"

#include <algorithm>
#include <array>
#include <cstdio>
#include <iomanip>
#include <ostream>

#include "tools/status_judgement.h"
#include "tools/visible.h"

namespace korahamonctl {
namespace {

constexpr std::size_t textLimit = 300;
constexpr Json::ArrayIndex namesLimit = 32;

struct Row {
    const char* key;
    const char* label;
    const char* whenTrue;
    const char* whenFalse;
    bool ofPeer;
};

constexpr std::array<Row, 6> flags = {{
    {"remoteAlive", "peer", "alive", "NOT ALIVE", false},
    {"drbdConnected", "DRBD", "connected", "NOT CONNECTED", false},
    {"localMDResync", "arrays here", "resynchronising", "no resync", false},
    {"remoteMDResync", "arrays of the peer", "resynchronising", "no resync", true},
    {"localDiskErrHandling", "disks here", "ERROR HANDLING", "no error handling", false},
    {"remoteDiskErrHandling", "disks of the peer", "ERROR HANDLING", "no error handling", true},
}};

const Json::Value& member(const Json::Value& object, const char* key) {
    static const Json::Value none;
    return object.isObject() ? object[key] : none;
}

std::string textOf(const Json::Value& value, const char* otherwise) {
    return value.isString() ? visible(value.asString(), textLimit) : otherwise;
}

std::string formatted(const char* form, double value) {
    std::array<char, 64> text{};
    std::snprintf(text.data(), text.size(), form, value);
    return text.data();
}

bool isTrue(const Json::Value& value) {
    return value.isBool() && value.asBool();
}

std::string roleOf(const Json::Value& status) {
    const Json::Value& active = member(status, "active");
    return !active.isBool() ? "unknown" : active.asBool() ? "active" : "passive";
}

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

std::string more(const Json::Value& list) {
    return "and " + std::to_string(list.size() - namesLimit) + " more";
}

std::string joined(const Json::Value& list) {
    std::string text;
    for (Json::ArrayIndex i = 0; i < std::min(list.size(), namesLimit); ++i) {
        text += (i == 0 ? "" : ", ") + textOf(list[i], "?");
    }
    return list.size() <= namesLimit ? text : text + ", " + more(list);
}

bool hasItems(const Json::Value& list) {
    return list.isArray() && !list.empty();
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
    for (const Row& row : flags) {
        const char* known = isTrue(member(status, row.key)) ? row.whenTrue : row.whenFalse;
        line(out, row.label, valueText(status, row.key, paces, known));
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
        for (Json::ArrayIndex i = 0; i < std::min(constraints.size(), namesLimit); ++i) {
            line(out, "no restart because", textOf(constraints[i], "?"));
        }
        if (constraints.size() > namesLimit) {
            line(out, "", more(constraints));
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
    for (const Row& row : flags) {
        if (row.ofPeer && away) {
            continue;
        }
        const Knowledge knowledge = knowledgeOf(status, row.key, paces);
        const char* value = isTrue(member(status, row.key)) ? row.whenTrue : row.whenFalse;
        text += std::string("; ") + row.label + ": " +
                (knowledge == Knowledge::unknown ? "unknown" : value) +
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
