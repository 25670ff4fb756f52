// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>
#include <cstdint>
#include <string_view>

#include "hasupport/logfile/line_stamp.h"

namespace KORA::HA::Daemon::support {

/// Numbers from 1 on. Nobody logs this many lines, so a larger one in a left-over buffer is damage.
inline constexpr std::uint64_t largestLeftSequence = std::uint64_t{1} << 61U;
/// No number at all is larger than this.
inline constexpr std::uint64_t largestSequence = std::uint64_t{1} << 62U;

/// Bytes that a record takes besides its text, at most: its head.
inline constexpr std::size_t recordHead = 24;
inline constexpr std::size_t recordAlignment = 8;

/// A record begins with one of these, then its text's length, its number and its check. No text
/// holds these bytes: control characters are escaped in it.
inline constexpr std::uint32_t waitingMark = 0x1e0a011fU;
inline constexpr std::uint32_t doneMark = 0x1e0a021fU;

/// One log line as it lies in a buffer.
struct LineRecord {
    std::uint64_t sequence = 0;
    std::string_view text;  ///< points into the buffer
    bool waiting = false;   ///< false: it was written or dropped
    std::size_t begin = 0;  ///< where the record lies in the buffer
    std::size_t end = 0;    ///< where the next one may begin
};

/// Bytes that a record of so much text takes.
std::size_t recordSize(std::size_t textSize);

/// Puts a record of a whole line to `at`, which is aligned and has room. It counts as a whole from
/// one store on: a process that is killed before it leaves no record there.
void putRecord(char* at, std::uint64_t sequence, std::string_view line);

/// The same for a line of `stamp`, `text` and a newline, which come together only there.
void putRecord(char* at, std::uint64_t sequence, const Stamp& stamp, std::string_view text);

/// Marks the record at `at` as done with.
void retireRecord(char* at);

/// The check over a record's line, its length and its number, as it stands in the record.
std::uint64_t recordCheck(std::uint64_t sequence, std::string_view line);

/// Finds the first whole record at or behind `from`, skipping what is damaged; false when there is
/// none. A record is whole when its check fits and its text is a line as this library formats it.
/// Pure: any bytes will do.
bool nextRecord(std::string_view bytes, std::size_t from, LineRecord& record);

}  // namespace KORA::HA::Daemon::support
