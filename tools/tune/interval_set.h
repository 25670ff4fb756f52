// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>
#include <vector>

namespace korahamonctl::tune {

/// From `first` to `last`, both included; milliseconds of the Unix epoch.
struct Interval {
    std::int64_t first = 0;
    std::int64_t last = 0;
    bool operator==(const Interval&) const = default;
};

/// A set of moments: intervals in order that neither overlap nor touch.
class IntervalSet {
  public:
    void add(Interval added);
    /// Takes out what lies before a moment.
    IntervalSet takeBefore(std::int64_t end);
    bool empty() const { return intervals_.empty(); }
    const std::vector<Interval>& intervals() const { return intervals_; }

  private:
    std::vector<Interval> intervals_;
};

}  // namespace korahamonctl::tune
