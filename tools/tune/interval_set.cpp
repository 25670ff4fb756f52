// SPDX-License-Identifier: Apache-2.0
#include "tools/tune/interval_set.h"

#include <algorithm>
#include <utility>

namespace korahamonctl::tune {

void IntervalSet::add(Interval added) {
    const auto from = std::find_if(intervals_.begin(), intervals_.end(), [&](const Interval& each) {
        return each.last >= added.first - 1;
    });
    auto to = from;
    for (; to != intervals_.end() && to->first <= added.last + 1; ++to) {
        added = {std::min(added.first, to->first), std::max(added.last, to->last)};
    }
    intervals_.insert(intervals_.erase(from, to), added);
}

IntervalSet IntervalSet::takeBefore(std::int64_t end) {
    IntervalSet taken;
    std::vector<Interval> rest;
    for (const Interval& each : intervals_) {
        if (each.first < end) {
            taken.intervals_.push_back({each.first, std::min(each.last, end - 1)});
        }
        if (each.last >= end) {
            rest.push_back({std::max(each.first, end), each.last});
        }
    }
    intervals_ = std::move(rest);
    return taken;
}

}  // namespace korahamonctl::tune
