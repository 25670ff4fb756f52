// SPDX-License-Identifier: Apache-2.0
// parser: hasupport/kernel/mdstat.cpp
#include "fuzz/fuzz_input.h"
#include "hasupport/kernel/mdstat.h"

using namespace KORA::HA::Daemon::support;

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const auto arrays = parseMdstat(koraha::fuzz::textOf(data, size));
    koraha::fuzz::require(!arrays || arrays->size() <= mdArrayLimit);
    for (const auto& each : arrays ? *arrays : std::vector<MdArray>{}) {
        koraha::fuzz::require(each.name.substr(0, 2) == "md");
    }
    return 0;
}
