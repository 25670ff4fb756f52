// SPDX-License-Identifier: Apache-2.0
#include "running_peer_door.h"

#include "hasupport/peer/peer_client.h"
#include "peer_link.h"
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

bool isPeerAnswering() {
    return eventually([] {
        const auto deadline = support::Deadline::in(std::chrono::seconds(20));
        return support::askPeer(R"({"request":"state"})", false, deadline).payload.has_value();
    });
}

}  // namespace koraha::test
