// SPDX-License-Identifier: Apache-2.0
#include "running_peer_door.h"

#include "tests/support/small_stack.h"

namespace koraha::test {

namespace support = KORA::HA::Daemon::support;

RunningPeerDoor::RunningPeerDoor(std::chrono::milliseconds step) : step_(step) {
    thread_ = std::thread([this] { onSmallStack([this] { serve(); }); });
}

RunningPeerDoor::~RunningPeerDoor() {
    stop_ = true;
    thread_.join();
}

void RunningPeerDoor::serve() {
    support::PeerDoor door;
    support::Door* const doors[] = {&door};
    while (!stop_) {
        if (!support::serveDoors(doors, status, step_)) {
            ++failedSteps_;
        }
        connections_ = door.connectionCount();
        ++steps_;
    }
}

}  // namespace koraha::test
