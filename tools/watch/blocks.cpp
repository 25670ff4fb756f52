// SPDX-License-Identifier: Apache-2.0
#include "tools/watch/blocks.h"

#include <algorithm>
#include <cmath>
#include <functional>

namespace korahamonctl::watch {
namespace {

constexpr std::size_t highest = 7;
constexpr Cell nothing = {noSampleGlyph, Ink::quiet};

// 0 to 6 by equal factors below the threshold, 7 from there on.
std::size_t heightOf(double value, double threshold) {
    constexpr double span = 1000;
    if (!(value < threshold)) {
        return highest;
    }
    const double above = value / threshold * span;
    if (!(above > 1)) {
        return 0;
    }
    const double share = std::log(above) / std::log(span);
    return std::min<std::size_t>(1 + static_cast<std::size_t>(share * 6), highest - 1);
}

Cell block(std::size_t height, Ink ink) {
    return {blockGlyphs[height], ink};
}

Cell judged(double value, double threshold) {
    const std::size_t height = heightOf(value, threshold);
    return block(height, height == highest ? Ink::bad : Ink::good);
}

Cells each(const LastHour& hour, const std::function<Cell(const Slot&)>& cellOf) {
    Cells cells;
    std::transform(hour.slots.begin(), hour.slots.end(), std::back_inserter(cells), cellOf);
    return cells;
}

Cell lossOf(const Slot& slot) {
    if (!(slot.sent > 0)) {
        return nothing;
    }
    const double lost = (slot.sent - slot.answered) / slot.sent;
    if (lost <= 0) {
        return block(0, Ink::good);
    }
    const auto height = lost >= 1 ? highest : 1 + static_cast<std::size_t>(lost * 6);
    return block(height, lost >= 0.5 ? Ink::bad : Ink::doubtful);
}

}  // namespace

Cells latencyBlocks(const LastHour& hour, double threshold) {
    return each(hour, [&](const Slot& slot) {
        if (slot.withoutRoundTrip) {
            return Cell{lostGlyph, Ink::bad};
        }
        return slot.latency ? judged(*slot.latency, threshold) : nothing;
    });
}

Cells lossBlocks(const LastHour& hour) {
    return each(hour, lossOf);
}

Cells rateBlocks(const LastHour& hour, double threshold) {
    return each(hour, [&](const Slot& slot) {
        return slot.rate ? judged(*slot.rate, threshold) : nothing;
    });
}

}  // namespace korahamonctl::watch
