// SPDX-License-Identifier: Apache-2.0
#include "hasupport/logfile/line_record.h"

#include <algorithm>
#include <atomic>
#include <cstring>

#include "hasupport/logfile/checksum.h"
#include "hasupport/logfile/plain_text.h"

namespace KORA::HA::Daemon::support {
namespace {

struct Head {
    std::uint32_t mark;
    std::uint32_t length;
    std::uint64_t sequence;
    std::uint64_t check;
};
static_assert(sizeof(Head) == recordHead);

// The buffer is bytes on either side of a kill; the mark alone is written as a whole.
void storeMark(char* at, std::uint32_t mark) {
    auto* const place = reinterpret_cast<std::uint32_t*>(at);
    std::atomic_ref(*place).store(mark, std::memory_order_release);
}

/// Nothing at `at` counts any more; gives the place for a record's text.
char* beginRecord(char* at) {
    storeMark(at, 0);
    return at + recordHead;
}

/// The text lies in its place.
void finishRecord(char* at, std::uint64_t sequence, std::size_t size, std::uint64_t check) {
    const Head head{0, static_cast<std::uint32_t>(size), sequence, check};
    std::memcpy(at, &head, sizeof head);
    storeMark(at, waitingMark);
}

/// Stamp and text apart, as they come: to read them from the record, just written there in pieces
/// of other sizes, would be to wait for it. A line's newline is not in it; there is no line
/// without.
std::uint64_t checkOf(std::uint64_t sequence, std::string_view stamp, std::string_view text) {
    return checksum(text, sequence) + checksum(stamp);
}

bool isFormattedLine(std::string_view text) {
    if (text.empty() || text.back() != '\n') {
        return false;
    }
    text.remove_suffix(1);
    // Inside, a newline with its tab is the only control character.
    for (std::size_t plain = plainLength(text); plain < text.size(); plain = plainLength(text)) {
        if (text.substr(plain, 2) != "\n\t") {
            return false;
        }
        text.remove_prefix(plain + 2);
    }
    return true;
}

bool readRecord(std::string_view bytes, std::size_t at, LineRecord& record) {
    Head head{};
    std::memcpy(&head, bytes.data() + at, sizeof head);
    if ((head.mark != waitingMark && head.mark != doneMark) ||
        head.length > bytes.size() - at - recordHead || head.sequence == 0 ||
        head.sequence > largestSequence) {
        return false;
    }
    record.text = bytes.substr(at + recordHead, head.length);
    record.sequence = head.sequence;
    record.waiting = head.mark == waitingMark;
    record.begin = at;
    record.end = at + recordSize(head.length);
    return head.check == recordCheck(record.sequence, record.text) && isFormattedLine(record.text);
}

}  // namespace

std::size_t recordSize(std::size_t textSize) {
    return (recordHead + textSize + recordAlignment - 1) / recordAlignment * recordAlignment;
}

std::uint64_t recordCheck(std::uint64_t sequence, std::string_view line) {
    line.remove_suffix(line.empty() ? 0 : 1);
    const std::size_t stamp = std::min(line.size(), stampBytes);
    return checkOf(sequence, line.substr(0, stamp), line.substr(stamp));
}

void putRecord(char* at, std::uint64_t sequence, std::string_view line) {
    std::memcpy(beginRecord(at), line.data(), line.size());
    finishRecord(at, sequence, line.size(), recordCheck(sequence, line));
}

void putRecord(char* at, std::uint64_t sequence, const Stamp& stamp, std::string_view text) {
    char* const line = beginRecord(at);
    std::memcpy(line, stamp.data(), stampBytes);
    std::memcpy(line + stampBytes, text.data(), text.size());
    line[stampBytes + text.size()] = '\n';
    finishRecord(at, sequence, stampBytes + text.size() + 1,
                 checkOf(sequence, textOf(stamp), text));
}

void retireRecord(char* at) {
    storeMark(at, doneMark);
}

bool nextRecord(std::string_view bytes, std::size_t from, LineRecord& record) {
    std::size_t at = (from + recordAlignment - 1) / recordAlignment * recordAlignment;
    for (; at < bytes.size() && bytes.size() - at >= recordHead; at += recordAlignment) {
        if (readRecord(bytes, at, record)) {
            return true;
        }
    }
    return false;
}

}  // namespace KORA::HA::Daemon::support
