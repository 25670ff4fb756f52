// SPDX-License-Identifier: Apache-2.0
#include "hasupport/logfile/buffer_head.h"

#include <atomic>
#include <cstring>

#include "hasupport/logfile/buffer_layout.h"
#include "hasupport/logfile/checksum.h"
#include "hasupport/logfile/line_record.h"

namespace KORA::HA::Daemon::support {
namespace {

constexpr std::string_view magic("KHALINES", 8);
constexpr std::size_t versionAt = 8;
constexpr std::size_t issuedAt = 16;
constexpr std::size_t slotsAt = 64;
constexpr std::size_t slotStride = 64;

/// The progress stands in two slots by turns, so that one of them is always whole.
struct Slot {
    std::uint64_t generation = 0;
    std::uint64_t consumed = 0;
    std::uint64_t through = 0;  // 0: nothing is on its way
    FileMark mark;
    std::uint64_t check = 0;
};
static_assert(sizeof(Slot) == 56 && sizeof(Slot) <= slotStride);

std::uint64_t checkOf(const Slot& slot) {
    return checksum({reinterpret_cast<const char*>(&slot), offsetof(Slot, check)});
}

template <typename Value>
Value valueAt(std::string_view bytes, std::size_t at) {
    Value value{};
    std::memcpy(&value, bytes.data() + at, sizeof value);
    return value;
}

bool isSound(const Slot& slot) {
    return slot.check == checkOf(slot) && slot.generation > 0 &&
           slot.generation <= largestLeftSequence && slot.consumed <= largestLeftSequence &&
           slot.through <= largestLeftSequence &&
           (slot.through == 0 || slot.through > slot.consumed);
}

void findProgress(std::string_view head, BufferHead& found) {
    for (const std::size_t at : {slotsAt, slotsAt + slotStride}) {
        const auto slot = valueAt<Slot>(head, at);
        if (isSound(slot) && slot.generation > found.generation) {
            found.generation = slot.generation;
            found.progress.emplace().consumed = slot.consumed;
            if (slot.through > 0) {
                found.progress->flight = Flight{slot.through, slot.mark};
            }
        }
    }
}

}  // namespace

BufferHead parseBufferHead(std::string_view head) {
    BufferHead found;
    if (head.size() < bufferHeadBytes || head.substr(0, magic.size()) != magic) {
        return found;
    }
    found.version = valueAt<std::uint32_t>(head, versionAt);
    if (found.version == bufferVersion) {
        const auto issued = valueAt<std::uint64_t>(head, issuedAt);
        found.issued = issued <= largestLeftSequence ? issued : 0;
        findProgress(head, found);
    }
    return found;
}

void BufferHeadWriter::begin() {
    std::memset(at_, 0, bufferHeadBytes);
    std::memcpy(at_ + versionAt, &bufferVersion, sizeof bufferVersion);
    std::atomic_signal_fence(std::memory_order_release);
    std::memcpy(at_, magic.data(), magic.size());
    generation_ = 0;
}

void BufferHeadWriter::setProgress(const BufferProgress& progress) {
    Slot slot;
    slot.generation = ++generation_;
    slot.consumed = progress.consumed;
    if (progress.flight) {
        slot.through = progress.flight->through;
        slot.mark = progress.flight->mark;
    }
    slot.check = checkOf(slot);
    // What follows in the program (a write to the file) may not be seen before this.
    std::memcpy(at_ + slotsAt + slot.generation % 2 * slotStride, &slot, sizeof slot);
    std::atomic_signal_fence(std::memory_order_seq_cst);
}

void BufferHeadWriter::setIssued(std::uint64_t sequence) {
    auto* const place = reinterpret_cast<std::uint64_t*>(at_ + issuedAt);
    std::atomic_ref(*place).store(sequence, std::memory_order_release);
}

}  // namespace KORA::HA::Daemon::support
