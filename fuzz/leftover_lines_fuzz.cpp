// SPDX-License-Identifier: Apache-2.0
// parser: hasupport/logfile/leftover_lines.cpp
// parser: hasupport/logfile/line_record.cpp
// parser: hasupport/logfile/buffer_head.cpp without begin setProgress setIssued
#include <algorithm>
#include <array>
#include <cstring>
#include <string>

#include "fuzz/fuzz_input.h"
#include "hasupport/logfile/checksum.h"
#include "hasupport/logfile/leftover_lines.h"
#include "hasupport/logfile/line_record.h"
#include "hasupport/logfile/plain_text.h"

using namespace KORA::HA::Daemon::support;
using koraha::fuzz::require;

namespace {

constexpr std::size_t headPart = 192;  // all of the head that means anything
constexpr std::size_t slabs = 3;

/// An input is the begin of a head, and behind it three slabs of equal size.
struct Buffer {
    explicit Buffer(std::string_view input) : head(input.substr(0, headPart)) {
        input.remove_prefix(head.size());
        head.resize(bufferHeadBytes);
        const std::size_t size = input.size() / slabs / recordAlignment * recordAlignment;
        for (std::size_t i = 0; i < slabs; ++i) {
            memory.at(i) = input.substr(i * size, size);
        }
    }
    std::string head;
    std::array<std::string, slabs> memory;
};

template <typename Value>
Value valueAt(const std::string& bytes, std::size_t at) {
    Value value{};
    std::memcpy(&value, bytes.data() + at, sizeof value);
    return value;
}

// No fuzzer guesses a check of 64 bits; what lies behind the checks is to be reached too.
void mendChecks(Buffer& buffer) {
    for (const std::size_t slot : {std::size_t{64}, std::size_t{128}}) {
        const std::uint64_t check = checksum(std::string_view(buffer.head).substr(slot, 48));
        std::memcpy(buffer.head.data() + slot + 48, &check, sizeof check);
    }
    for (std::string& slab : buffer.memory) {
        std::size_t at = 0;
        while (at + recordHead <= slab.size()) {
            const auto mark = valueAt<std::uint32_t>(slab, at);
            const auto length = valueAt<std::uint32_t>(slab, at + 4) % 256;
            const bool fits = length <= slab.size() - at - recordHead;
            if ((mark != waitingMark && mark != doneMark) || !fits) {
                at += recordAlignment;
                continue;
            }
            const auto check = recordCheck(valueAt<std::uint64_t>(slab, at + 8),
                                           std::string_view(slab).substr(at + recordHead, length));
            std::memcpy(slab.data() + at + 4, &length, sizeof length);
            std::memcpy(slab.data() + at + 16, &check, sizeof check);
            at += recordSize(length);
        }
    }
}

void requireLine(const LineRecord& record, std::string_view slab) {
    require(record.sequence > 0 && record.sequence <= largestSequence);
    require(record.text.data() >= slab.data() && !record.text.empty() &&
            record.text.data() + record.text.size() <= slab.data() + slab.size());
    require(record.text.back() == '\n' && record.text.front() != '\t');
    require(record.text.find('\0') == std::string_view::npos);
    require(record.begin % recordAlignment == 0 && record.end > record.begin);
}

void check(const Buffer& buffer) {
    const std::array<std::string_view, slabs> views{buffer.memory[0], buffer.memory[1],
                                                    buffer.memory[2]};
    const LeftoverLines left = parseLeftoverLines(buffer.head, views);
    require(left.count <= slabs && left.highest <= largestLeftSequence);
    require(left.progress.consumed <= left.highest);
    require(!left.progress.flight || left.progress.flight->through > left.progress.consumed);
    std::uint64_t before = left.progress.consumed;
    for (std::size_t i = 0; i < left.count; ++i) {
        const SlabUse& use = left.slabs.at(left.order.at(i));
        const std::string_view slab = views.at(left.order.at(i));
        require(use.first > left.progress.consumed && use.first >= before);
        require(use.last >= use.first && use.last <= left.highest);
        require(use.from < use.used && use.used <= slab.size());
        before = use.first;
        LineRecord record;
        require(nextRecord(slab.substr(0, use.used), use.from, record));
        require(record.waiting && record.sequence == use.first);
        for (std::size_t at = 0; nextRecord(slab, at, record); at = record.end) {
            requireLine(record, slab);
        }
    }
}

/// What is put is found, and told from what is done with.
void putAndFind(std::string_view input) {
    std::string text(input.substr(0, 200));
    std::replace_if(text.begin(), text.end(), isControl, '.');
    alignas(recordAlignment) std::array<char, 256> memory{};
    const std::string_view bytes(memory.data(), memory.size());
    LineRecord record;
    putRecord(memory.data(), 7, LineStamp().at({}), text);
    require(nextRecord(bytes, 0, record) && record.waiting && record.sequence == 7);
    const std::string line(record.text);
    require(line.substr(stampBytes) == text + "\n");
    retireRecord(memory.data());
    require(nextRecord(bytes, 0, record) && !record.waiting && record.text == line);
    putRecord(memory.data(), 8, line);
    require(nextRecord(bytes, 0, record) && record.waiting && record.sequence == 8);
    require(record.text == line);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    Buffer buffer(koraha::fuzz::textOf(data, size));
    check(buffer);
    mendChecks(buffer);
    check(buffer);
    putAndFind(koraha::fuzz::textOf(data, size));
    return 0;
}
