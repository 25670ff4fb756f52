// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <json/value.h>

#include <optional>
#include <string>

namespace korahamonctl {

/// A status reply in one line of JSON; nothing, and what it is instead in `problem`, when the line
/// is none. The problem is safe to print.
std::optional<Json::Value> parseStatus(const std::string& line, std::string& problem);

/// What the daemon says when it is asked for its status once.
struct StatusAnswer {
    std::string line;                   ///< as it came
    std::optional<Json::Value> status;  ///< nothing when there was no answer to believe
    std::string problem;                ///< why there was none; safe to print
    bool forbidden = false;             ///< that was since this user may not ask
};

/// Asks the daemon behind a socket for its "status", or its "history"; connecting and answering may
/// each take as long as the time-out.
StatusAnswer askDaemon(const std::string& socketPath, const std::string& request, int timeoutMs);

/// Asks for the status. Takes a few seconds at most.
StatusAnswer askStatus(const std::string& socketPath);

}  // namespace korahamonctl
