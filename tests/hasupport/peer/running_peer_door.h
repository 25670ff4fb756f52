// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <atomic>
#include <chrono>
#include <functional>
#include <thread>

#include "hasupport/peer/peer_door.h"
#include "hasupport/status.h"

namespace koraha::test {

/// The door for the peer, served by a thread of its own with a stack like the routines'. For use
/// inside onLoopback, with a PeerLink.
class RunningPeerDoor {
  public:
    explicit RunningPeerDoor(std::chrono::milliseconds step = std::chrono::milliseconds(20));
    ~RunningPeerDoor();
    RunningPeerDoor(const RunningPeerDoor&) = delete;
    RunningPeerDoor& operator=(const RunningPeerDoor&) = delete;

    std::size_t connectionCount() const { return connections_; }
    unsigned steps() const { return steps_; }
    unsigned failedSteps() const { return failedSteps_; }

    KORA::HA::Daemon::Status status;

  private:
    void serve();

    std::chrono::milliseconds step_;
    std::atomic<bool> stop_{false};
    std::atomic<std::size_t> connections_{0};
    std::atomic<unsigned> steps_{0};
    std::atomic<unsigned> failedSteps_{0};
    std::thread thread_;
};

/// Asks the peer for its state until it answers; a busy machine may let the server's one second
/// pass.
bool isPeerAnswering();

}  // namespace koraha::test
