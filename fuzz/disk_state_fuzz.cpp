// SPDX-License-Identifier: Apache-2.0
// parser: hasupport/kernel/disk_state.cpp without readDiskState takeControllers readCounter
#include "fuzz/fuzz_input.h"
#include "hasupport/kernel/disk_state.h"

using namespace KORA::HA::Daemon::support;

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const auto text = koraha::fuzz::textOf(data, size);
    koraha::fuzz::require(!(isHandlingState(text) && isFailedState(text)));
    koraha::fuzz::require(!(isRecoveryState(text) && isFailedState(text)));
    koraha::fuzz::require(!parseIoCounter(text) || text.substr(0, 2) == "0x");
    const auto host = scsiHostOf(text);
    koraha::fuzz::require(host.empty() || (host.size() > 4 && host.substr(0, 4) == "host"));
    return 0;
}
