// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <poll.h>

#include <span>
#include <vector>

#include "hasupport/io/deadline.h"
#include "hasupport/status.h"

namespace KORA::HA::Daemon::support {

/// Something that clients come through: a listener and its connections, served by a poll loop
/// together with other doors. Used by one thread; nothing here blocks.
class Door {
  public:
    Door() = default;
    virtual ~Door() = default;
    Door(const Door&) = delete;
    Door& operator=(const Door&) = delete;

    /// Appends the descriptors to wait for, and pulls `wakeAt` earlier when the door has a
    /// deadline.
    virtual void collect(std::vector<pollfd>& fds, SteadyClock::time_point& wakeAt) = 0;

    /// Handles what poll(2) reported on the descriptors that this door appended (same order), and
    /// its own deadlines. False when the door failed at its work; the next step may succeed.
    virtual bool serve(std::span<const pollfd> own, Status& status) = 0;
};

/// One serving step over several doors: waits until something happens, at most `span`, and serves
/// it. A time-out is success. False when polling or a door failed.
bool serveDoors(std::span<Door* const> doors, Status& status, SteadyClock::duration span);

}  // namespace KORA::HA::Daemon::support
