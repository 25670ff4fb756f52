// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <algorithm>
#include <chrono>

namespace KORA::HA::Daemon::support {

using SteadyClock = std::chrono::steady_clock;
using Milliseconds = std::chrono::milliseconds;

/// A point on the monotonic clock by which something must be over.
class Deadline {
  public:
    static Deadline in(SteadyClock::duration span) { return Deadline(SteadyClock::now() + span); }
    explicit Deadline(SteadyClock::time_point at) : at_(at) {}

    SteadyClock::time_point at() const { return at_; }
    bool passed() const { return SteadyClock::now() >= at_; }

    /// What poll(2) takes: milliseconds left, rounded up, never negative.
    int pollTimeout() const {
        const auto left = std::chrono::ceil<Milliseconds>(at_ - SteadyClock::now());
        return static_cast<int>(std::max<Milliseconds::rep>(left.count(), 0));
    }

  private:
    SteadyClock::time_point at_;
};

}  // namespace KORA::HA::Daemon::support
