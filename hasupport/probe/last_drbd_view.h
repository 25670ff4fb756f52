// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <chrono>
#include <mutex>
#include <optional>

#include "hasupport/io/deadline.h"
#include "hasupport/kernel/drbd_view.h"

namespace KORA::HA::Daemon::support {

/// What drbdsetup told the last look at DRBD, for those who must not wait for another. Any thread;
/// nobody waits longer than a copy takes.
class LastDrbdView {
  public:
    /// Far more than lies between two looks; what is older tells nothing of now.
    static constexpr std::chrono::minutes goodFor{5};

    void keep(DrbdView view, SteadyClock::time_point now);
    /// The one kept; before the first, and when it is too old, unknown with the reason.
    DrbdView get(SteadyClock::time_point now) const;

  private:
    mutable std::mutex mutex_;  // guards everything below
    std::optional<DrbdView> view_;
    SteadyClock::time_point keptAt_;
};

}  // namespace KORA::HA::Daemon::support
