// SPDX-License-Identifier: Apache-2.0
// parser: hasupport/kernel/drbd_events.cpp
#include "fuzz/fuzz_input.h"
#include "hasupport/kernel/drbd_events.h"

using namespace KORA::HA::Daemon::support;

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const auto text = koraha::fuzz::textOf(data, size);
    for (const char* const peer : {"", "192.0.2.2"}) {
        const auto resources = parseDrbdEvents(text, peer);
        koraha::fuzz::require(!resources || resources->size() <= drbdResourceLimit);
        for (const auto& each : resources ? *resources : std::vector<DrbdResource>{}) {
            koraha::fuzz::require(!each.name.empty() && each.name.size() <= drbdNameLimit);
        }
    }
    return 0;
}
