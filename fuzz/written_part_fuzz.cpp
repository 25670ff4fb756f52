// SPDX-License-Identifier: Apache-2.0
// parser: hasupport/logfile/written_part.cpp
#include "fuzz/fuzz_input.h"
#include "hasupport/logfile/written_part.h"

using namespace KORA::HA::Daemon::support;

/// An input is a batch and, behind its first NUL, what was found at the end of the file.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const auto text = koraha::fuzz::textOf(data, size);
    const auto batch = text.substr(0, text.find('\0'));
    const auto tail = text.substr(batch.size());
    const WrittenPart part = findWrittenPart(tail, batch);
    koraha::fuzz::require(part.size <= batch.size() && part.begin <= tail.size());
    koraha::fuzz::require(tail.substr(part.begin, part.size) == batch.substr(0, part.size));
    const bool atEnd = part.begin + part.size == tail.size() || part.size == batch.size();
    koraha::fuzz::require(part.size == 0 || atEnd || batch[part.size - 1] == '\n');
    return 0;
}
