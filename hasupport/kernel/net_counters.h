// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>
#include <optional>
#include <string>

#include "hasupport/io/kernel_roots.h"

namespace KORA::HA::Daemon::support {

/// What an interface has counted since it was made, both directions together, in packets.
struct NetCounters {
    std::uint64_t good = 0;
    std::uint64_t failed = 0;     ///< rx_errors + rx_missed_errors + tx_errors + tx_dropped
    std::uint64_t interface = 0;  ///< the kernel's number of it: a new one, a new interface
};

/// Reads the counters of `interface`; nothing when that is no interface name, or one of the
/// counters cannot be read.
std::optional<NetCounters> readNetCounters(const KernelRoots& roots, const std::string& interface);

/// failed / (good + failed) between two readings, from 0 to 1. Without an earlier reading, after a
/// counter went back or the interface was made anew, and without traffic: 0.
float failureRate(const std::optional<NetCounters>& before, const NetCounters& now);

}  // namespace KORA::HA::Daemon::support
