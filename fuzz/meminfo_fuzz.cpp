// SPDX-License-Identifier: Apache-2.0
// parser: hasupport/kernel/meminfo.cpp
#include "fuzz/fuzz_input.h"
#include "hasupport/kernel/meminfo.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const auto text = koraha::fuzz::textOf(data, size);
    for (const auto& figure : KORA::HA::Daemon::support::parseMeminfo(text)) {
        koraha::fuzz::require(!figure.name.empty() &&
                              figure.name.find_first_of(" \t\n") == std::string_view::npos);
    }
    return 0;
}
