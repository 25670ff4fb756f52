// SPDX-License-Identifier: Apache-2.0
// parser: hasupport/peer/restart_stamp_text.cpp
#include "fuzz/fuzz_input.h"
#include "hasupport/peer/restart_stamp.h"

using namespace KORA::HA::Daemon::support;
using koraha::fuzz::require;

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const auto text = koraha::fuzz::textOf(data, size);
    RestartStamp hostile;
    hostile.reason = text;
    hostile.outcome = text;
    require(parseStamp(stampText(hostile)).has_value());
    const auto stamp = parseStamp(text);
    if (!stamp) {
        return 0;
    }
    require(stamp->age() >= std::chrono::seconds::zero());
    const std::string written = stampText(*stamp);
    const auto again = parseStamp(written);
    require(again && stampText(*again) == written);
    require(again->wallSeconds == stamp->wallSeconds && again->bootSeconds == stamp->bootSeconds);
    return 0;
}
