// SPDX-License-Identifier: Apache-2.0
#include "hasupport/logfile/line_record.h"

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
void finishRecord(char* at, std::uint64_t sequence, std::size_t size) {
    const std::string_view text(at + recordHead, size);
    const Head head{0, static_cast<std::uint32_t>(size), sequence, recordCheck(sequence, text)};
    std::memcpy(at, &head, sizeof head);
    storeMark(at, waitingMark);
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

std::uint64_t recordCheck(std::uint64_t sequence, std::string_view text) {
    return checksum(text, sequence);
}

void putRecord(char* at, std::uint64_t sequence, std::string_view text) {
    std::memcpy(beginRecord(at), text.data(), text.size());
    finishRecord(at, sequence, text.size());
}

void putRecord(char* at, std::uint64_t sequence, std::string_view stamp, std::string_view text) {
    char* const line = beginRecord(at);
    std::memcpy(line, stamp.data(), stamp.size());
    std::memcpy(line + stamp.size(), text.data(), text.size());
    line[stamp.size() + text.size()] = '\n';
    finishRecord(at, sequence, stamp.size() + text.size() + 1);
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
