// SPDX-License-Identifier: Apache-2.0
#include "tools/paces.h"

#include <algorithm>

#include "tools/setting_numbers.h"

namespace korahamonctl {
namespace {

using KORA::HA::Daemon::ConfType;

constexpr double tolerated = 3;
constexpr double passBoundSeconds = 5;

double paceIn(const SettingOf& settingOf, ConfType type) {
    const double pace = settingOf(type);
    return pace < 0 ? settingFrom({}, type) : pace;
}

}  // namespace

Paces pacesBy(const SettingOf& settingOf) {
    Paces paces;
    paces.peer = paceIn(settingOf, KORA::HA::Daemon::BASE_INTERVAL_BUSY_FLAG);
    paces.checks = std::max(paceIn(settingOf, KORA::HA::Daemon::BASE_INTERVAL_ACTIVE),
                            paceIn(settingOf, KORA::HA::Daemon::BASE_INTERVAL_PASSIVE));
    paces.interface = paces.checks * (paceIn(settingOf, KORA::HA::Daemon::NUM_OF_REST_NETWORK) + 1);
    return paces;
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
