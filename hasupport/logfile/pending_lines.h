// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <array>
#include <chrono>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include "hasupport/logfile/buffer_head.h"
#include "hasupport/logfile/leftover_lines.h"
#include "hasupport/logfile/line_buffer.h"
#include "hasupport/logfile/line_record.h"

namespace KORA::HA::Daemon::support {

/// The longest line that a buffer takes, with its newline.
inline constexpr std::size_t lineLimit = largeSlabBytes - recordHead;

/// Where in a batch a line stands, with the one that tells of lines missing before it.
struct LineSpan {
    std::size_t begin = 0;
    std::size_t end = 0;
};

/// Lines that wait for the disk, whole and in order, in a bounded buffer: where that is full the
/// oldest ones go, but never lines that are being written. Where lines are missing, the next batch
/// says how many. Needs a lock around it.
class PendingLines {
  public:
    using WallClock = std::chrono::system_clock;

    /// In the memory of this process alone.
    PendingLines() = default;
    /// In a buffer that outlives the process, going on with what was left there.
    explicit PendingLines(LineBuffer buffer);

    bool outlives() const { return buffer_.outlives(); }

    /// Appends one whole line (with its newline) of at most `lineLimit` bytes. What does not fit
    /// counts as lost. A file cut under the map is noticed before it is touched.
    void append(std::string_view line);
    /// The same for a line of `stamp`, `text` and a newline. A file that was seen to be whole
    /// within the last hundredth of a second before `now` is taken to be so.
    void append(const Stamp& stamp, std::string_view text, WallClock::time_point now);
    /// Counts lines that could not even be put together.
    void lose(std::uint64_t lines);

    /// The number given last.
    std::uint64_t newest() const { return next_ - 1; }
    bool isEmpty() const { return count_ == 0; }

    /// Puts the oldest waiting lines (up to number `newest`) into `batch`, and remembers that they
    /// are on their way to `mark`: they stay as they are until `advance` is called. An empty batch
    /// means that there is none.
    void begin(const FileMark& mark, std::uint64_t newest, std::string& batch);
    const std::optional<Flight>& flight() const { return progress_.flight; }
    /// The batch that is on its way, once more.
    void composeFlight(std::string& batch);
    /// The line of that batch that byte number `at` belongs to; empty behind the last one.
    LineSpan flightLineAt(std::size_t at) const;
    /// The first `bytes` of the batch are in the file: whole lines are done with. Nothing is on its
    /// way any more.
    void advance(std::size_t bytes);

    /// No line waits, and none is on its way.
    bool isDone() const { return count_ == 0 && !progress_.flight; }

    /// Gives memory back that the lines no longer need.
    void giveBack();
    /// Lines lost that no batch has told of yet, because none came after them.
    std::uint64_t untold() const;

  private:
    /// Where a walk over the waiting lines stands.
    struct Walk {
        std::size_t slab = 0;  // the next one in `order_`
        std::size_t at = 0;
        std::uint64_t previous = 0;
        LineRecord line;
        std::uint64_t lost = 0;  // lines that are missing before it
    };

    Walk walk() const;
    bool nextLine(Walk& walk) const;
    static void appendLine(std::string& out, const Walk& walk);
    std::uint64_t compose(std::string& out, std::uint64_t through, std::size_t limit) const;
    bool outlives(const Walk& walk) const;

    template <typename... Text>
    void put(std::size_t size, const Text&... text);
    char* roomFor(std::size_t size);
    bool prepareBase();
    bool useFreeSlab(std::size_t size);
    bool growFor(std::size_t size);
    bool dropsMakeRoom(std::size_t size) const;
    bool dropOldest(std::size_t size);
    bool isPinned(const SlabUse& slab) const;
    void abandonCutFile();
    SlabUse& slabAt(std::size_t position) { return slabs_.at(order_.at(position)); }
    const SlabUse& slabAt(std::size_t position) const { return slabs_.at(order_.at(position)); }

    void retireThrough(std::uint64_t sequence);
    void retireIn(std::uint8_t number, std::uint64_t sequence);
    void forgetSlab(std::size_t position);
    void numberAfresh();
    void saveProgress();

    LineBuffer buffer_;
    BufferHeadWriter head_;
    BufferProgress progress_;
    std::uint64_t next_ = 1;
    std::array<SlabUse, slabCount> slabs_{};
    std::array<std::uint8_t, slabCount> order_{};  // slabs with waiting lines, oldest first
    std::size_t count_ = 0;
    WallClock::time_point seenWhole_;
};

}  // namespace KORA::HA::Daemon::support
