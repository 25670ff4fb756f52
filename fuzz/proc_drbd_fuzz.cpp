// SPDX-License-Identifier: Apache-2.0
// parser: hasupport/kernel/proc_drbd.cpp
#include "fuzz/fuzz_input.h"
#include "hasupport/kernel/proc_drbd.h"

using namespace KORA::HA::Daemon::support;

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const auto drbd = parseProcDrbd(koraha::fuzz::textOf(data, size));
    koraha::fuzz::require(!drbd || drbd->resources.size() <= drbdResourceLimit);
    return 0;
}
