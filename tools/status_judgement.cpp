// SPDX-License-Identifier: Apache-2.0
#include "tools/status_judgement.h"

#include <array>

#include "tools/status_words.h"
#include "tools/visible.h"

namespace korahamonctl {
namespace {

constexpr std::size_t nameLimit = 64;
constexpr std::size_t reasonLimit = 200;
constexpr std::size_t concernsLimit = 64;

struct Group {
    const char* key;
    bool ofPeer;        // renewed only while the peer answers
    bool alarming;      // the value of a flag that gives cause for alarm
    const char* alarm;  // nothing for what never does
};

constexpr std::array<Group, 8> groups = {{
    {"remoteAlive", false, false, "peer not alive"},
    {"drbdConnected", false, false, "DRBD not connected"},
    {"localDiskErrHandling", false, true, "disk error handling here"},
    {"remoteDiskErrHandling", true, true, "disk error handling on the peer"},
    {"localMDResync", false, true, nullptr},
    {"remoteMDResync", true, true, nullptr},
    {"hbLatency", true, true, nullptr},
    {"netNonOkRate", true, true, nullptr},
}};

bool isValue(const Json::Value& value) {
    return value.isBool() || value.isNumeric();
}

std::string reasonOf(const Json::Value& status, const std::string& reading) {
    const Json::Value& reason = member(member(member(status, "readings"), reading), "reason");
    return reason.isString() ? visible(reason.asString(), reasonLimit) : std::string();
}

void judgeGroup(const Json::Value& status, const Group& group, const Paces& paces,
                std::vector<Concern>& concerns) {
    const Json::Value& value = member(status, group.key);
    const Knowledge knowledge = knowledgeOf(status, group.key, paces);
    if (knowledge != Knowledge::unknown && group.alarm != nullptr && value.isBool() &&
        value.asBool() == group.alarming) {
        concerns.push_back({group.alarm, false, ""});
    }
    const bool peerAway = member(status, "remoteAlive").isBool() && !status["remoteAlive"].asBool();
    if (knowledge != Knowledge::known && !(group.ofPeer && peerAway)) {
        const char* what = knowledge == Knowledge::stale ? " stale" : " unknown";
        concerns.push_back({group.key + std::string(what), true, reasonOf(status, group.key)});
    }
}

void judgeArrays(const Json::Value& arrays, std::vector<Concern>& concerns) {
    if (!arrays.isArray()) {
        concerns.push_back({"degraded arrays unknown", true, ""});
        return;
    }
    for (const Json::Value& name : arrays) {
        concerns.push_back(
            {"degraded array " + (name.isString() ? visible(name.asString(), nameLimit) : "?"),
             false, ""});
        if (concerns.size() >= concernsLimit) {
            return;
        }
    }
}

}  // namespace

Knowledge knowledgeOf(const Json::Value& status, const std::string& reading, const Paces& paces) {
    const Json::Value& state = member(member(status, "readings"), reading);
    const Json::Value& valid = member(state, "valid");
    if (!isValue(member(status, reading)) || !valid.isBool() || !valid.asBool()) {
        return Knowledge::unknown;
    }
    const Json::Value& age = member(state, "ageSeconds");
    return age.isNumeric() && age.asDouble() <= staleAfter(reading, paces) ? Knowledge::known
                                                                           : Knowledge::stale;
}

std::vector<Concern> concernsIn(const Json::Value& status, const Paces& paces) {
    std::vector<Concern> concerns;
    for (const Group& group : groups) {
        judgeGroup(status, group, paces, concerns);
    }
    judgeArrays(member(status, "degradedArrays"), concerns);
    return concerns;
}

}  // namespace korahamonctl
