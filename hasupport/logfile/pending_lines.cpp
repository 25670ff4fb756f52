// SPDX-License-Identifier: Apache-2.0
#include "hasupport/logfile/pending_lines.h"

#include <algorithm>
#include <cstring>
#include <limits>
#include <utility>

#include "hasupport/logfile/line_format.h"

namespace KORA::HA::Daemon::support {
namespace {

constexpr std::size_t batchLimit = std::size_t{32} << 10U;
constexpr std::uint64_t absurdSequence = largestLeftSequence / 2;

// For so long a file that was whole is taken to be so: asking the kernel anew for each line of many
// takes longer than the line itself.
constexpr std::chrono::milliseconds trust{10};

}  // namespace

PendingLines::PendingLines(LineBuffer buffer) : buffer_(std::move(buffer)) {
    const LeftoverLines& left = buffer_.leftover();
    progress_ = left.progress;
    next_ = left.highest + 1;
    slabs_ = left.slabs;
    order_ = left.order;
    count_ = left.count;
    head_ = BufferHeadWriter(buffer_.head(), left.head.generation);
    if (buffer_.hasBase() && left.head.version == 0) {
        head_.begin();
    }
    saveProgress();
}

void PendingLines::saveProgress() {
    if (buffer_.hasBase()) {
        head_.setProgress(progress_);
    }
}

void PendingLines::append(std::string_view line) {
    abandonCutFile();
    put(line.size(), line);
}

void PendingLines::append(const Stamp& stamp, std::string_view text, WallClock::time_point now) {
    if (now < seenWhole_ || now > seenWhole_ + trust) {
        abandonCutFile();
        seenWhole_ = now;
    }
    put(stamp.size() + text.size() + 1, stamp, text);
}

template <typename... Text>
void PendingLines::put(std::size_t size, const Text&... text) {
    size = recordSize(size);
    char* const at = roomFor(size);
    if (at == nullptr) {
        lose(1);
        return;
    }
    const std::uint8_t number = order_.at(count_ - 1);
    SlabUse& slab = slabs_.at(number);
    putRecord(at, next_, text...);
    slab.first = slab.first == 0 ? next_ : slab.first;
    slab.last = next_++;
    slab.used += size;
    if (outlives() && !buffer_.slabOutlives(number)) {
        head_.setIssued(slab.last);
    }
}

void PendingLines::lose(std::uint64_t lines) {
    next_ += lines;
    if (lines > 0 && buffer_.hasBase()) {
        head_.setIssued(next_ - 1);
    }
}

std::uint64_t PendingLines::untold() const {
    return newest() - (count_ > 0 ? slabAt(count_ - 1).last : progress_.consumed);
}

PendingLines::Walk PendingLines::walk() const {
    Walk start;
    start.previous = progress_.consumed;
    return start;
}

bool PendingLines::nextLine(Walk& walk) const {
    for (; walk.slab < count_; ++walk.slab, walk.at = 0) {
        const SlabUse& slab = slabAt(walk.slab);
        const std::string_view bytes(buffer_.slab(order_.at(walk.slab)), slab.used);
        while (nextRecord(bytes, std::max(walk.at, slab.from), walk.line)) {
            walk.at = walk.line.end;
            if (walk.line.waiting && walk.line.sequence > walk.previous) {
                walk.lost = walk.line.sequence - walk.previous - 1;
                walk.previous = walk.line.sequence;
                return true;
            }
        }
    }
    return false;
}

bool PendingLines::outlives(const Walk& walk) const {
    return buffer_.slabOutlives(order_.at(walk.slab));
}

void PendingLines::appendLine(std::string& out, const Walk& walk) {
    if (walk.lost > 0) {
        appendLossLine(out, walk.line.text, walk.lost);
    }
    out.append(walk.line.text);
}

// Lines that outlive the process and lines that do not never share a batch: the next start must be
// able to put it together again.
std::uint64_t PendingLines::compose(std::string& out, std::uint64_t through,
                                    std::size_t limit) const {
    out.clear();
    std::uint64_t last = progress_.consumed;
    bool kind = false;
    for (Walk each = walk(); nextLine(each) && each.line.sequence <= through;) {
        const bool first = out.empty();
        kind = first ? outlives(each) : kind;
        if (outlives(each) != kind || (!first && out.size() + each.line.text.size() > limit)) {
            break;
        }
        appendLine(out, each);
        last = each.line.sequence;
    }
    return last;
}

void PendingLines::begin(const FileMark& mark, std::uint64_t newest, std::string& batch) {
    abandonCutFile();
    const std::uint64_t through = compose(batch, newest, batchLimit);
    if (batch.empty()) {
        while (count_ > 0 && slabAt(0).last <= newest) {
            forgetSlab(0);  // damaged meanwhile; the next line tells that they are missing
        }
        return;
    }
    const bool kept = outlives(walk());
    progress_.flight = Flight{through, mark};
    if (kept) {
        saveProgress();
    }
}

void PendingLines::composeFlight(std::string& batch) {
    abandonCutFile();
    batch.clear();
    if (progress_.flight) {
        compose(batch, progress_.flight->through, std::numeric_limits<std::size_t>::max());
    }
}

LineSpan PendingLines::flightLineAt(std::size_t at) const {
    LineSpan span;
    std::string piece;
    const std::uint64_t through = progress_.flight ? progress_.flight->through : 0;
    for (Walk each = walk(); nextLine(each) && each.line.sequence <= through;) {
        piece.clear();
        appendLine(piece, each);
        span.end = span.begin + piece.size();
        if (at < span.end) {
            return span;
        }
        span.begin = span.end;
    }
    return span;
}

void PendingLines::advance(std::size_t bytes) {
    abandonCutFile();
    if (!progress_.flight) {
        return;
    }
    std::uint64_t done = progress_.consumed;
    std::uint64_t last = done;
    std::string piece;
    std::size_t sum = 0;
    for (Walk each = walk(); nextLine(each) && each.line.sequence <= progress_.flight->through;) {
        piece.clear();
        appendLine(piece, each);
        sum += piece.size();
        last = each.line.sequence;
        done = sum <= bytes ? last : done;
    }
    progress_.consumed = done == last ? progress_.flight->through : done;
    progress_.flight.reset();
    saveProgress();
    retireThrough(progress_.consumed);
    if (count_ == 0 && next_ > absurdSequence) {
        numberAfresh();
    }
}

// The numbers came from a buffer that someone has tampered with: a next start would not believe
// those behind them.
void PendingLines::numberAfresh() {
    for (std::size_t i = 0; i < slabCount && buffer_.slab(i) != nullptr; ++i) {
        std::memset(buffer_.slab(i), 0, LineBuffer::slabSize(i));
    }
    head_.begin();
    head_ = BufferHeadWriter(buffer_.head());
    progress_ = {};
    next_ = 1;
    saveProgress();
}

void PendingLines::retireThrough(std::uint64_t sequence) {
    while (count_ > 0 && slabAt(0).last <= sequence) {
        retireIn(order_.front(), sequence);
        forgetSlab(0);
    }
    if (count_ > 0 && slabAt(0).first <= sequence) {
        retireIn(order_.front(), sequence);
    }
}

void PendingLines::retireIn(std::uint8_t number, std::uint64_t sequence) {
    SlabUse& slab = slabs_.at(number);
    char* const memory = buffer_.slab(number);
    LineRecord record;
    while (nextRecord({memory, slab.used}, slab.from, record) && record.sequence <= sequence) {
        retireRecord(memory + record.begin);
        slab.from = record.end;
    }
    slab.first = std::max(slab.first, sequence + 1);
}

void PendingLines::forgetSlab(std::size_t position) {
    slabAt(position) = SlabUse{};
    const auto at = order_.begin() + static_cast<std::ptrdiff_t>(position);
    std::copy(at + 1, order_.begin() + static_cast<std::ptrdiff_t>(count_), at);
    --count_;
}

}  // namespace KORA::HA::Daemon::support
