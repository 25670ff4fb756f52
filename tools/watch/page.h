// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <json/value.h>

#include <optional>
#include <string>
#include <vector>

#include "tools/paces.h"
#include "tools/watch/canvas.h"

namespace korahamonctl::watch {

/// All that the live view shows at one moment.
struct Scene {
    std::string host;
    std::optional<Json::Value> status;  ///< what the daemon said last, if it said anything
    double statusAge = 0;               ///< seconds since then
    std::string problem;                ///< why it does not answer now; empty while it does
    Json::Value history;                ///< its reply to "history"
    std::vector<std::string> log;       ///< the latest records, the oldest first
    std::string logProblem;             ///< why there is no log
    double now = 0;                     ///< wall time, seconds of the Unix epoch
    Paces paces;
    double latencyThreshold = 0;   ///< milliseconds
    double rateThreshold = 0;      ///< a fraction
    bool help = false;             ///< the explanation instead
    bool showEvents = false;       ///< the daemon's events in the place of the log
    std::size_t scrolledBack = 0;  ///< so many of the latest lines are below the screen
};

/// What stands on a screen of this size. What is least important goes first where there is not
/// room for everything. Pure.
Canvas renderPage(const Scene& scene, int width, int height);

/// How far back the lines of log or events can be scrolled.
std::size_t linesToScroll(const Scene& scene);

}  // namespace korahamonctl::watch
