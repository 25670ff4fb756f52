// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <json/value.h>

#include <cstdint>
#include <string>
#include <vector>

#include "tools/tune/replay.h"

namespace korahamonctl::tune {

/// What one run of the daemon measured, in the order of time.
struct Run {
    std::vector<Sample> latencies;
    std::vector<Sample> rates;
    std::int64_t endMs = 0;  ///< its last sign of life
};

/// The samples of the record log, run by run. A sample's number that does not grow, or a clock that
/// was set back, begins a new run.
class Recording {
  public:
    /// Takes one record of the log, in the order of writing.
    void take(const std::string& record);
    /// Takes from a reply to "history" what the log does not have yet.
    void takeHistory(const Json::Value& history, std::int64_t nowMs);

    const std::vector<Run>& runs() const { return runs_; }
    /// So many samples were measured and are not there.
    std::uint64_t missing() const { return missing_; }

  private:
    void takeSample(const Sample& sample, bool isLatency);
    Run& currentRun();

    std::vector<Run> runs_;
    std::uint64_t lastSequence_ = 0;
    std::int64_t lastAtMs_ = 0;
    std::uint64_t missing_ = 0;
};

}  // namespace korahamonctl::tune
