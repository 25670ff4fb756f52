#include "tools/status_view.h"

#include <array>
#include <cstdio>
#include <iomanip>
#include <ostream>

namespace korahamonctl {
namespace {

constexpr double staleAfterSeconds = 3 * 20 + 2;  // the longest default pace of a check loop

struct Row {
    const char* key;
    const char* label;
    const char* whenTrue;
    const char* whenFalse;
};

constexpr std::array<Row, 6> flags = {{
    {"remoteAlive", "peer", "alive", "NOT ALIVE"},
    {"drbdConnected", "DRBD", "connected", "NOT CONNECTED"},
    {"localMDResync", "arrays here", "resynchronising", "no resync"},
    {"remoteMDResync", "arrays of the peer", "resynchronising", "no resync"},
    {"localDiskErrHandling", "disks here", "ERROR HANDLING", "no error handling"},
    {"remoteDiskErrHandling", "disks of the peer", "ERROR HANDLING", "no error handling"},
}};

const Json::Value& readingOf(const Json::Value& status, const char* key) {
    static const Json::Value none;
    const Json::Value& readings = status["readings"];
    return readings.isObject() ? readings[key] : none;
}

bool isValid(const Json::Value& state) {
    return state.isObject() && state["valid"].isBool() && state["valid"].asBool();
}

// While the peer is away nobody asks it: those values are as old as its absence, which is told
// once.
bool needsPeer(const std::string& key) {
    return key == "remoteMDResync" || key == "remoteDiskErrHandling" || key == "hbLatency" ||
           key == "netNonOkRate";
}

bool flag(const Json::Value& status, const char* key, bool fallback) {
    return status[key].isBool() ? status[key].asBool() : fallback;
}

std::string ageText(const Json::Value& state) {
    if (!state.isObject() || !state["ageSeconds"].isNumeric()) {
        return "";
    }
    std::array<char, 48> text{};
    std::snprintf(text.data(), text.size(), "  (%.0f s ago)", state["ageSeconds"].asDouble());
    return text.data();
}

std::string suffix(const char* key, const Json::Value& state) {
    std::string text = ageText(state);
    if (isValid(state) && isStale(key, state)) {
        text += "  STALE";
    }
    return text;
}

std::string unknownText(const Json::Value& state) {
    const Json::Value& reason = state.isObject() ? state["reason"] : state;
    return "unknown" + (reason.isString() ? ": " + visible(reason.asString()) : std::string());
}

std::string flagText(const Json::Value& status, const Row& row) {
    const Json::Value& state = readingOf(status, row.key);
    if (!status[row.key].isBool() || !isValid(state)) {
        return unknownText(state);
    }
    return (status[row.key].asBool() ? row.whenTrue : row.whenFalse) + suffix(row.key, state);
}

std::string numberText(const Json::Value& status, const char* key, const char* format) {
    const Json::Value& state = readingOf(status, key);
    if (!status[key].isNumeric() || !isValid(state)) {
        return unknownText(state);
    }
    std::array<char, 64> text{};
    std::snprintf(text.data(), text.size(), format, status[key].asDouble());
    return text.data() + suffix(key, state);
}

std::string joined(const Json::Value& list) {
    std::string text;
    for (const Json::Value& each : list) {
        text += (text.empty() ? "" : ", ") + (each.isString() ? visible(each.asString()) : "?");
    }
    return text;
}

void line(std::ostream& out, const std::string& label, const std::string& text) {
    out << std::left << std::setw(20) << label << text << '\n';
}

void lineIfAny(std::ostream& out, const char* label, const Json::Value& list) {
    if (list.isArray() && !list.empty()) {
        line(out, label, joined(list));
    }
}

void printRestart(const Json::Value& restart, std::ostream& out) {
    if (restart.isObject()) {
        line(out, "last restart",
             visible(restart["outcome"].asString()) + ": " + visible(restart["reason"].asString()));
    }
}

}  // namespace

bool isStale(const std::string& reading, const Json::Value& state) {
    if (reading == "netNonOkRate") {
        return false;
    }
    const Json::Value& age = state["ageSeconds"];
    return !age.isNumeric() || age.asDouble() > staleAfterSeconds;
}

bool isAllWell(const Json::Value& status) {
    if (!flag(status, "remoteAlive", false) || !flag(status, "drbdConnected", false) ||
        flag(status, "localDiskErrHandling", true) || flag(status, "remoteDiskErrHandling", true)) {
        return false;
    }
    if (status["degradedArrays"].isArray() && !status["degradedArrays"].empty()) {
        return false;
    }
    const Json::Value& readings = status["readings"];
    if (!readings.isObject() || readings.empty()) {
        return false;
    }
    for (const std::string& name : readings.getMemberNames()) {
        if (!isValid(readings[name]) || isStale(name, readings[name])) {
            return false;
        }
    }
    return true;
}

void printStatus(const Json::Value& status, std::ostream& out) {
    line(out, "this node", flag(status, "active", false) ? "active" : "passive");
    for (const Row& row : flags) {
        line(out, row.label, flagText(status, row));
    }
    line(out, "heartbeat", numberText(status, "hbLatency", "%.3f ms"));
    line(out, "failed packets", numberText(status, "netNonOkRate", "%.6f of all"));
    lineIfAny(out, "disks in EH here", status["errHandlingDisks"]);
    lineIfAny(out, "disks in EH, peer", status["errHandlingDisksRemote"]);
    lineIfAny(out, "DEGRADED arrays", status["degradedArrays"]);
    for (const Json::Value& constraint : status["constraints"]) {
        line(out, "no restart because",
             constraint.isString() ? visible(constraint.asString()) : "?");
    }
    printRestart(status["lastRestart"], out);
}

std::string oneLine(const Json::Value& status) {
    std::string text = flag(status, "active", false) ? "active" : "passive";
    const bool alive = flag(status, "remoteAlive", false);
    for (const Row& row : flags) {
        if (!alive && needsPeer(row.key)) {
            continue;
        }
        const Json::Value& state = readingOf(status, row.key);
        const bool known = status[row.key].isBool() && isValid(state);
        text += std::string("; ") + row.label + ": " +
                (!known                     ? "unknown"
                 : status[row.key].asBool() ? row.whenTrue
                                            : row.whenFalse);
    }
    if (alive && status["hbLatency"].isNumeric() && isValid(readingOf(status, "hbLatency"))) {
        std::array<char, 48> latency{};
        std::snprintf(latency.data(), latency.size(), "; %.1f ms", status["hbLatency"].asDouble());
        text += latency.data();
    }
    for (const char* key : {"errHandlingDisks", "errHandlingDisksRemote"}) {
        if (status[key].isArray() && !status[key].empty()) {
            text += "; " + joined(status[key]);
        }
    }
    return text;
}

std::string visible(const std::string& text) {
    std::string out;
    for (const char c : text) {
        const auto byte = static_cast<unsigned char>(c);
        if (byte < 0x20U || byte == 0x7fU) {
            std::array<char, 8> escaped{};
            std::snprintf(escaped.data(), escaped.size(), "\\x%02x", byte);
            out += escaped.data();
        } else {
            out += c;
        }
    }
    return out;
}

}  // namespace korahamonctl
