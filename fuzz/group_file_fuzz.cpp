// SPDX-License-Identifier: Apache-2.0
// parser: hasupport/socket/group_file.cpp without readGroupNumber
#include "fuzz/fuzz_input.h"
#include "hasupport/socket/group_file.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const auto text = koraha::fuzz::textOf(data, size);
    const auto group = KORA::HA::Daemon::support::groupNumber(text, "koraha");
    koraha::fuzz::require(!group || text.find("koraha:") != std::string_view::npos);
    return 0;
}
