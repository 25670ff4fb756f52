// SPDX-License-Identifier: Apache-2.0
// parser: hasupport/kernel/mountinfo.cpp
// parser: hasupport/kernel/local_mounts.cpp
#include "fuzz/fuzz_input.h"
#include "hasupport/kernel/mountinfo.h"

using namespace KORA::HA::Daemon::support;

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const auto mounts = parseMountinfo(koraha::fuzz::textOf(data, size));
    for (const Mount& mount : mounts) {
        koraha::fuzz::require(!mount.point.empty() && !mount.type.empty());
    }
    koraha::fuzz::require(localMounts(mounts).size() <= mounts.size());
    return 0;
}
