// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <functional>
#include <string>

#include "config/config_table.h"

namespace korahamonctl {

/// How often the daemon measures, in seconds between two attempts.
struct Paces {
    double peer = 0;       ///< liveness and DRBD
    double checks = 0;     ///< the slower of the two check intervals
    double interface = 0;  ///< the failure rate of the interface
};

/// What a configuration says, or the default where it says nothing.
using SettingOf = std::function<double(KORA::HA::Daemon::ConfType)>;

/// The paces that a configuration gives; a number below zero, which would pause practically for
/// ever and is no pace to judge by, counts as the default.
Paces pacesBy(const SettingOf& settingOf);

/// A value is stale from this age on: three times its pace (one attempt may fail and one may be
/// late) and 5 s, what a pass over probes that all run into their bounds may take.
double staleAfter(const std::string& reading, const Paces& paces);

}  // namespace korahamonctl
