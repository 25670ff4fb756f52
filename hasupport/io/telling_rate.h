// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <mutex>

#include "hasupport/io/deadline.h"

namespace KORA::HA::Daemon::support {

/// Bounds how often something is said that others can bring about: five times at once, and once
/// in 10 seconds after that. Constant-initialised; any thread.
class TellingRate {
  public:
    constexpr TellingRate() = default;

    /// True when it may be said now.
    bool allows(SteadyClock::time_point now = SteadyClock::now());

  private:
    std::mutex mutex_;
    SteadyClock::time_point paidUntil_;  // each saying moves it on by its price
};

}  // namespace KORA::HA::Daemon::support
