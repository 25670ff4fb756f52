// SPDX-License-Identifier: Apache-2.0
#include <algorithm>
#include <array>

#include "tools/watch/rows.h"

namespace korahamonctl::watch {

std::vector<Cells> helpLines() {
    constexpr std::array<const char*, 20> lines = {
        "KEYS",
        "q  quit          ?  this page        l  the daemon's log or its events",
        "up, down, page up, page down, home, end   scroll log or events",
        "^L  draw anew    ^Z  suspend",
        "",
        "VALUES",
        "Behind each stands its age, the time since it was last measured.",
        "STALE    older than three times the pace of its measuring and 5 s",
        "unknown  could not be measured; the reason follows. It is not \"no\".",
        "which    the disks in error handling; \"last known\": it may be over",
        "constraints   why this node would not restart its peer now",
        "",
        "LAST HOUR   the newest at the right; the worst of each part counts",
        "latency  a full block from the threshold on, the lowest a thousandth of",
        "         it, equal factors between; x: most echoes without an answer",
        "lost     echoes without an answer: the lowest block none, a full one all",
        "packets  failed packets of the interface, on the scale of the latency",
        "dot      nothing was measured in that part",
        "",
        "Times are UTC. What a line of the log means: korahamonctl explain NUMBER",
    };
    std::vector<Cells> rows;
    for (const char* line : lines) {
        const bool heading = line[0] >= 'A' && line[0] <= 'Z' && line[1] >= 'A' && line[1] <= 'Z';
        rows.push_back(cellsOf(line, heading ? Ink::heading : Ink::plain));
    }
    return rows;
}

}  // namespace korahamonctl::watch
