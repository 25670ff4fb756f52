// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>

#include "hasupport/export.h"

namespace KORA::HA::Daemon {

/// Failure rate of the replication interface between two readings of its kernel counters
/// (/sys/class/net/IF/statistics). Used by one thread, which keeps it between readings.
class KORAHA_EXPORT InterfaceChecker {
  public:
    InterfaceChecker();
    ~InterfaceChecker();  // NOLINT(performance-trivially-destructible): defines nothing inline

    /// Writes failed / (good + failed) packets since the previous reading, both directions: a
    /// fraction from 0 to 1. The first reading, one after a counter went back, and one without
    /// traffic give 0. Failed are rx_errors, rx_missed_errors, tx_errors and tx_dropped, good are
    /// rx_packets and tx_packets. False, with `rate` untouched and the reason in the system log
    /// once per change, when the interface (drbdIF) cannot be read. Returns at once; never throws.
    bool networkNonOkRate(float& rate);

  private:
    // The previous reading.
    std::uint64_t good_ = 0;
    std::uint64_t failed_ = 0;
    std::uint64_t interfaceIndex_ = 0;
    bool hasBaseline_ = false;
};

}  // namespace KORA::HA::Daemon
