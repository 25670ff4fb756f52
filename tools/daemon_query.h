// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>

namespace korahamonctl {

/// A line of the daemon's, or why there is none (safe to print).
struct DaemonSaid {
    std::string line;
    std::string problem;
    bool forbidden = false;  ///< there is none since this user may not ask
};

inline constexpr int statusTimeoutMs = 3000;

/// Asks the daemon behind a socket for its "status", or its "history"; connecting and answering may
/// each take as long as the time-out.
DaemonSaid queryDaemon(const std::string& socketPath, const std::string& request, int timeoutMs);

}  // namespace korahamonctl
