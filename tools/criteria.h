// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>

#include "tools/paces.h"

namespace korahamonctl {

/// What a status is judged by.
struct Criteria {
    Paces paces;
    double latencyThreshold = 0;
    double rateThreshold = 0;
};

inline Criteria criteriaBy(const SettingOf& settingOf) {
    return {pacesBy(settingOf), settingOf(KORA::HA::Daemon::THR_OF_HB_LATENCY),
            settingOf(KORA::HA::Daemon::THR_OF_HB_PKT_DROP)};
}

}  // namespace korahamonctl
