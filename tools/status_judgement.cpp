// SPDX-License-Identifier: Apache-2.0
#include "tools/status_judgement.h"

#include <array>

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

void judgeGroup(const HealthRecord& record, const Group& group, const Paces& paces,
                std::vector<Concern>& concerns) {
    const Reading& reading = record.reading(group.key);
    const Knowledge knowledge = knowledgeOf(reading, group.key, paces);
    if (knowledge != Knowledge::unknown && group.alarm != nullptr &&
        flagOf(reading) == group.alarming) {
        concerns.push_back({group.alarm, false, ""});
    }
    if (knowledge != Knowledge::known && (!group.ofPeer || record.peerMayBeReached())) {
        const char* what = knowledge == Knowledge::stale ? " stale" : " unknown";
        concerns.push_back(
            {group.key + std::string(what), true, visible(reading.reason, reasonLimit)});
    }
}

void judgeArrays(const std::optional<Names>& arrays, std::vector<Concern>& concerns) {
    if (!arrays) {
        concerns.push_back({"degraded arrays unknown", true, ""});
        return;
    }
    for (const auto& name : *arrays) {
        concerns.push_back(
            {"degraded array " + (name ? visible(*name, nameLimit) : "?"), false, ""});
        if (concerns.size() >= concernsLimit) {
            return;
        }
    }
}

}  // namespace

Knowledge knowledgeOf(const Reading& reading, const std::string& key, const Paces& paces) {
    if (std::holds_alternative<std::monostate>(reading.value) || !reading.valid) {
        return Knowledge::unknown;
    }
    return reading.ageSeconds && *reading.ageSeconds <= staleAfter(key, paces) ? Knowledge::known
                                                                               : Knowledge::stale;
}

std::vector<Concern> concernsIn(const HealthRecord& record, const Paces& paces) {
    std::vector<Concern> concerns;
    for (const Group& group : groups) {
        judgeGroup(record, group, paces, concerns);
    }
    judgeArrays(record.degradedArrays, concerns);
    return concerns;
}

}  // namespace korahamonctl
