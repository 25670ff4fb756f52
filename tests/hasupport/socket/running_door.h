// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <pthread.h>
#include <atomic>
#include <memory>
#include <string>

#include "hasupport/socket/client_door.h"
#include "hasupport/socket/socket_path.h"
#include "hasupport/status.h"
#include "tests/support/scratch_dir.h"

namespace koraha::test {

/// Sources that say nothing, so that a test does not depend on the machine.
KORA::HA::Daemon::support::StatusSources quietSources();

/// A door of local clients on a socket in a scratch directory, served by a thread of its own with a
/// small stack.
class RunningDoor {
  public:
    explicit RunningDoor(KORA::HA::Daemon::support::ClientLimits limits = {},
                         KORA::HA::Daemon::support::StatusSources sources = quietSources());
    ~RunningDoor();
    RunningDoor(const RunningDoor&) = delete;
    RunningDoor& operator=(const RunningDoor&) = delete;

    std::string path() const { return scratch_.path("door"); }
    std::size_t clientCount() const { return clients_; }
    unsigned failedSteps() const { return failedSteps_; }

    KORA::HA::Daemon::Status status;

  private:
    void serve();
    static void* serveThread(void* self);

    ScratchDir scratch_;
    KORA::HA::Daemon::support::SocketPath socket_;
    std::unique_ptr<KORA::HA::Daemon::support::ClientDoor> door_;
    std::atomic<bool> stop_{false};
    std::atomic<std::size_t> clients_{0};
    std::atomic<unsigned> failedSteps_{0};
    pthread_t thread_{};
};

}  // namespace koraha::test
