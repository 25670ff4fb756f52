// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>

#include "hasupport/io/deadline.h"

namespace KORA::HA::Daemon::support {

/// What the clients of a local door may take. The defaults are the daemon's.
struct ClientLimits {
    std::size_t clients = 15;  ///< served at once
    std::size_t watchers = 8;  ///< of them
    /// A client may sit on half a line, or on unread replies, for so long.
    SteadyClock::duration patience = std::chrono::seconds(5);
    /// A new client that has not been heard yet keeps its place for so long, however many others
    /// want it.
    SteadyClock::duration grace = Milliseconds(20);
    SteadyClock::duration lookEvery = std::chrono::seconds(1);  ///< for changes, while one watches
    SteadyClock::duration signOfLife = std::chrono::seconds(30);
    /// Pause of accepting after that failed, so that it does not fail without end.
    SteadyClock::duration acceptPause = std::chrono::seconds(1);
};

}  // namespace KORA::HA::Daemon::support
