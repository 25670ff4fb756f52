// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>
#include <vector>

namespace korahamonctl::tune {

/// A measured value as the record log has it, with six decimals.
struct Sample {
    std::int64_t atMs = 0;
    double value = 0;
};

/// How samples are judged. From one judgement to the next pass between the shortest and the longest
/// gap, both included and at least a millisecond; when the first one comes is not known.
struct Judging {
    double threshold = 0;
    int tolerance = 0;
    std::int64_t shortestGapMs = 1;
    std::int64_t longestGapMs = 1;
};

/// A stretch in which, depending on when it is looked at, samples over the threshold are counted.
/// Before and behind it the monitor is at rest whatever the phase.
struct Episode {
    std::int64_t fromMs = 0;  ///< its first sample at or over the threshold
    std::int64_t toMs = 0;    ///< the sample with which it is over at the latest
    bool goesOn = false;      ///< it was not over at the end
    std::size_t overSamples = 0;
    double worst = 0;
    int least = 0;                ///< so many notifications are sent in any case
    int most = 0;                 ///< and so many at most
    std::int64_t earliestMs = 0;  ///< of the first notification, where there can be one
    std::int64_t latestMs = 0;
};

/// What the monitor makes of the samples of one run of the daemon, in the order of their times,
/// until `endMs`: exact for every sequence of judgements that keeps to the gaps. It looks at the
/// latest sample; one that equals the one before is not fresh. Where six decimals do not tell
/// whether two values are equal or one is over the threshold, both are taken into account.
std::vector<Episode> replay(const std::vector<Sample>& samples, const Judging& judging,
                            std::int64_t endMs);

}  // namespace korahamonctl::tune
