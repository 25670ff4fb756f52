// SPDX-License-Identifier: Apache-2.0
#include "tools/paces.h"

#include <json/value.h>

#include <algorithm>

#include "config/config_table.h"
#include "hasupport/io/read_file.h"
#include "tools/config_document.h"

namespace korahamonctl {
namespace {

using KORA::HA::Daemon::ConfType;

constexpr double tolerated = 3;
constexpr double passBoundSeconds = 5;

// A pace below zero would pause practically for ever, which is no pace to judge by.
double paceIn(const Json::Value& document, ConfType type) {
    const double pace = settingIn(document, type);
    return pace < 0 ? settingIn(Json::objectValue, type) : pace;
}

}  // namespace

Paces pacesFrom(const std::string& configuration) {
    const Json::Value document = parseConfig(configuration).value_or(Json::objectValue);
    Paces paces;
    paces.peer = paceIn(document, KORA::HA::Daemon::BASE_INTERVAL_BUSY_FLAG);
    paces.checks = std::max(paceIn(document, KORA::HA::Daemon::BASE_INTERVAL_ACTIVE),
                            paceIn(document, KORA::HA::Daemon::BASE_INTERVAL_PASSIVE));
    paces.interface = paces.checks * (paceIn(document, KORA::HA::Daemon::NUM_OF_REST_NETWORK) + 1);
    return paces;
}

Paces pacesOfFile(const std::string& path) {
    return pacesFrom(KORA::HA::Daemon::support::readFile(path).value_or(std::string()));
}

double staleAfter(const std::string& reading, const Paces& paces) {
    double pace = paces.checks;
    if (reading == "remoteAlive" || reading == "drbdConnected") {
        pace = paces.peer;
    } else if (reading == "netNonOkRate") {
        pace = paces.interface;
    }
    return tolerated * pace + passBoundSeconds;
}

}  // namespace korahamonctl
