// SPDX-License-Identifier: Apache-2.0
#include "hasupport/logfile/leftover_lines.h"

#include <algorithm>

#include "hasupport/logfile/line_record.h"

namespace KORA::HA::Daemon::support {
namespace {

// Behind the newest lines of a slab lie remains of older ones, which are no longer in order.
SlabUse useOf(std::string_view slab, std::uint64_t consumed, std::uint64_t& highest) {
    SlabUse use;
    LineRecord record;
    for (std::size_t at = 0; nextRecord(slab, at, record); at = record.end) {
        if (record.sequence > largestLeftSequence) {
            continue;
        }
        highest = std::max(highest, record.sequence);
        if (record.waiting && record.sequence > std::max(consumed, use.last)) {
            if (use.first == 0) {
                use.first = record.sequence;
                use.from = record.begin;
            }
            use.last = record.sequence;
            use.used = std::min(record.end, slab.size());
        }
    }
    return use;
}

void putInOrder(LeftoverLines& found) {
    for (std::size_t i = 0; i < slabCount; ++i) {
        if (found.slabs.at(i).first > 0) {
            found.order.at(found.count++) = static_cast<std::uint8_t>(i);
        }
    }
    const auto byFirst = [&found](std::uint8_t a, std::uint8_t b) {
        return found.slabs.at(a).first < found.slabs.at(b).first;
    };
    std::sort(found.order.begin(), found.order.begin() + static_cast<std::ptrdiff_t>(found.count),
              byFirst);
}

}  // namespace

LeftoverLines parseLeftoverLines(std::string_view head, std::span<const std::string_view> slabs) {
    LeftoverLines found;
    found.head = parseBufferHead(head);
    found.progress = found.head.progress.value_or(BufferProgress{});
    for (std::size_t i = 0; i < std::min(slabs.size(), slabCount); ++i) {
        found.slabs.at(i) = useOf(slabs[i], found.progress.consumed, found.highest);
    }
    putInOrder(found);
    if (!found.head.progress && found.count > 0) {
        found.progress.consumed = found.slabs.at(found.order.front()).first - 1;
    }
    const std::uint64_t through = found.progress.flight ? found.progress.flight->through : 0;
    found.highest = std::max({found.highest, found.head.issued, found.progress.consumed, through});
    return found;
}

}  // namespace KORA::HA::Daemon::support
