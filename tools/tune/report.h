// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <iosfwd>
#include <optional>
#include <vector>

#include "tools/tune/replay.h"

namespace korahamonctl::tune {

/// What one run of the daemon measured of one kind.
struct Series {
    std::vector<Sample> samples;
    std::int64_t endMs = 0;
};

struct Naming {
    const char* name;
    const char* unit;
};

/// Prints what was measured, and for each episode whether it would have been notified. Without
/// `judging` nothing is ever judged.
void printReport(const Naming& naming, const std::vector<Series>& series,
                 const std::optional<Judging>& judging, std::ostream& out);

}  // namespace korahamonctl::tune
