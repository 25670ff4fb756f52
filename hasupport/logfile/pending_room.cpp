// SPDX-License-Identifier: Apache-2.0
// How pending lines get the room they need: what is free, what can be had, what must go.
#include <limits>

#include "hasupport/logfile/pending_lines.h"

namespace KORA::HA::Daemon::support {

char* PendingLines::roomFor(std::size_t size) {
    if (count_ > 0) {
        const std::uint8_t newest = order_.at(count_ - 1);
        if (slabs_.at(newest).used + size <= LineBuffer::slabSize(newest)) {
            return buffer_.slab(newest) + slabs_.at(newest).used;
        }
    }
    const bool found = prepareBase() && (useFreeSlab(size) || growFor(size) || dropOldest(size));
    return found ? buffer_.slab(order_.at(count_ - 1)) : nullptr;
}

bool PendingLines::prepareBase() {
    if (!buffer_.hasBase() && buffer_.makeBase()) {
        head_ = BufferHeadWriter(buffer_.head());
        head_.begin();
    }
    return buffer_.hasBase();
}

bool PendingLines::useFreeSlab(std::size_t size) {
    for (std::size_t i = 0; i < slabCount; ++i) {
        const bool isFree = buffer_.slab(i) != nullptr && slabs_.at(i).last == 0;
        if (isFree && size <= LineBuffer::slabSize(i)) {
            order_.at(count_++) = static_cast<std::uint8_t>(i);
            return true;
        }
    }
    return false;
}

bool PendingLines::growFor(std::size_t size) {
    for (std::size_t i = smallSlabs; i < slabCount; ++i) {
        if (buffer_.slab(i) == nullptr) {
            return buffer_.grow(i) && useFreeSlab(size);
        }
    }
    return false;
}

bool PendingLines::isPinned(const SlabUse& slab) const {
    return progress_.flight && slab.first <= progress_.flight->through;
}

/// Room for `size` bytes would come of dropping lines; else they would be dropped for nothing.
bool PendingLines::dropsMakeRoom(std::size_t size) const {
    for (std::size_t position = 0; position < count_; ++position) {
        const bool fits = size <= LineBuffer::slabSize(order_.at(position));
        if (fits && !isPinned(slabAt(position))) {
            return true;
        }
    }
    return false;
}

bool PendingLines::dropOldest(std::size_t size) {
    while (dropsMakeRoom(size)) {
        std::size_t position = 0;
        while (position < count_ && isPinned(slabAt(position))) {
            ++position;
        }
        retireIn(order_.at(position), std::numeric_limits<std::uint64_t>::max() - 1);
        forgetSlab(position);
        if (useFreeSlab(size)) {
            return true;
        }
    }
    return false;
}

void PendingLines::giveBack() {
    for (std::size_t i = smallSlabs; i < slabCount; ++i) {
        if (slabs_.at(i).last != 0) {
            return;
        }
    }
    buffer_.giveBack();
}

// Only root could cut the file, and nothing is left then of what lay behind the cut.
void PendingLines::abandonCutFile() {
    if (!buffer_.isWhole()) {
        buffer_ = LineBuffer();
        head_ = BufferHeadWriter();
        slabs_ = {};
        count_ = 0;
        progress_.flight.reset();
    }
}

}  // namespace KORA::HA::Daemon::support
