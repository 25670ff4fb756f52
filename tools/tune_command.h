// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <iosfwd>
#include <optional>
#include <string>

#include "tools/log_filter.h"
#include "tools/status_command.h"

namespace korahamonctl {

/// What is tried instead of what the configuration says.
struct TuneTrial {
    std::optional<double> threshold;
    std::optional<int> tolerance;
    std::optional<int> rest;
};

struct TuneOptions {
    std::string path = "/var/log/ha/ha.daemon.record";
    bool onlyThatFile = false;  ///< do not ask the running daemon for what is not recorded yet
    std::optional<LogTime> since;
    std::string role = "any";  ///< "active", "passive" or "any"
    TuneTrial latency;
    TuneTrial packets;
};

/// Replays the recorded samples and prints which notifications would have been sent in any case,
/// and which depend on when the samples are looked at; 0, or 1 when there are no samples.
int tuneSettings(const StatusOptions& status, const TuneOptions& options, std::ostream& out,
                 std::ostream& err);

}  // namespace korahamonctl
