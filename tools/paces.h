// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>

namespace korahamonctl {

/// How often the daemon measures, in seconds between two attempts.
struct Paces {
    double peer = 0;       ///< liveness and DRBD
    double checks = 0;     ///< the slower of the two check intervals
    double interface = 0;  ///< the failure rate of the interface
};

/// The paces that a configuration's text gives; what it does not give, or gives as a number below
/// zero, counts with its default.
Paces pacesFrom(const std::string& configuration);

/// The same for a file; without one the defaults hold.
Paces pacesOfFile(const std::string& path);

/// A value is stale from this age on: three times its pace (one attempt may fail and one may be
/// late) and 5 s, what a pass over probes that all run into their bounds may take.
double staleAfter(const std::string& reading, const Paces& paces);

}  // namespace korahamonctl
