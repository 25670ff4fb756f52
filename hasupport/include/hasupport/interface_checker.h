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
    /// traffic give 0. False, with `rate` untouched, when the interface cannot be read.
    bool networkNonOkRate(float& rate);

  private:
    // The previous reading.
    std::uint64_t good_ = 0;
    std::uint64_t failed_ = 0;
    std::uint64_t interfaceIndex_ = 0;
    bool hasBaseline_ = false;
};

}  // namespace KORA::HA::Daemon
