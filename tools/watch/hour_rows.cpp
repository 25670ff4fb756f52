// SPDX-License-Identifier: Apache-2.0
#include <algorithm>
#include <array>

#include "tools/json_words.h"
#include "tools/watch/blocks.h"
#include "tools/watch/rows.h"

namespace korahamonctl::watch {
namespace {

// So many parts divide the hour into whole numbers of seconds that a person can name.
int partsFor(std::size_t columns) {
    constexpr std::array<int, 6> choices = {120, 60, 30, 20, 15, 12};
    const auto* found = std::find_if(choices.begin(), choices.end(), [&](int parts) {
        return static_cast<std::size_t>(parts) <= columns;
    });
    return found == choices.end() ? 10 : *found;
}

std::string eachText(int seconds) {
    return seconds < 60 ? std::to_string(seconds) + " s" : std::to_string(seconds / 60) + " min";
}

std::string rangeOf(const LastHour& hour) {
    if (!hour.least) {
        return ": no round trip";
    }
    const std::string least = formatted("%.3g", *hour.least);
    const std::string most = formatted("%.3g", *hour.most);
    return ": " + (least == most ? "" : least + " to ") + most + " ms";
}

Phrase summary(const LastHour& hour) {
    const std::string head = "LAST HOUR, " + eachText(hour.secondsEach) + " a block";
    if (hour.latencies == 0) {
        return {{head + ": nothing measured", head}, Ink::heading};
    }
    const std::string range = rangeOf(hour);
    if (hour.withoutRoundTrip == 0) {
        return {{head + range, head}, Ink::heading};
    }
    const std::string lost = ", " + std::to_string(hour.withoutRoundTrip) + " of " +
                             std::to_string(hour.latencies) + " unanswered (x)";
    return {{head + range + lost, head + range, head}, Ink::heading};
}

}  // namespace

Rows hourRows(const Scene& scene, int width) {
    const std::size_t start = labelWidth(width);
    const std::size_t room = static_cast<std::size_t>(width) -
                             std::min<std::size_t>(static_cast<std::size_t>(width), start);
    const LastHour hour = lastHour(scene.history, scene.now, partsFor(room));
    const auto line = [&](const char* label, const Cells& blocks) {
        Cells cells = labelled(label, width);
        append(cells, blocks);
        return cells;
    };
    Rows rows;
    rows.push_back({labelledPhrase("", summary(hour), width), 40});
    rows.push_back({line("latency", latencyBlocks(hour, scene.latencyThreshold)), 87});
    rows.push_back({line("lost", lossBlocks(hour)), 60});
    rows.push_back({line("packets", rateBlocks(hour, scene.rateThreshold)), 48});
    return rows;
}

}  // namespace korahamonctl::watch
