// SPDX-License-Identifier: Apache-2.0
#include "hasupport/socket_server.h"

#include <exception>
#include <optional>

#include "hasupport/io/notice.h"
#include "hasupport/peer/peer_door.h"
#include "hasupport/socket/client_door.h"
#include "hasupport/socket/socket_path.h"

namespace {

using namespace KORA::HA::Daemon::support;  // NOLINT(google-build-using-namespace)

constexpr const char* localDoorPath = "/run/koraha/server.sock";
constexpr std::chrono::seconds stepSpan{5};
constexpr std::chrono::seconds bindAgainEvery{5};

constinit Notice stepFailure;

/// What is open between two calls.
class TwoDoors {
  public:
    bool step(KORA::HA::Daemon::Status& status) {
        keepLocalDoor();
        if (local_) {
            Door* const doors[] = {&*local_, &peer_};
            return serveDoors(doors, status, stepSpan);
        }
        Door* const doors[] = {&peer_};
        return serveDoors(doors, status, stepSpan);
    }

  private:
    // The local door is an offer beside the status socket: without it the peer is served all the
    // same.
    void keepLocalDoor() {
        const auto now = SteadyClock::now();
        if (local_ || now < bindAgainAt_) {
            return;
        }
        bindAgainAt_ = now + bindAgainEvery;
        if (path_.bindAndListen()) {
            local_.emplace(path_.listener());
        }
    }

    SocketPath path_{localDoorPath};
    std::optional<ClientDoor> local_;
    SteadyClock::time_point bindAgainAt_;
    PeerDoor peer_;
};

void pauseBeforeTheNextTry() {
    const timespec pause{1, 0};
    ::nanosleep(&pause, nullptr);
}

TwoDoors& doors() {
    static TwoDoors theDoors;
    return theDoors;
}

}  // namespace

SocketServer::SocketServer() = default;
SocketServer::~SocketServer() = default;

// A step that failed may succeed the next time: no failure here ends the daemon.
bool SocketServer::operator()(KORA::HA::Daemon::Status& status) try {
    if (doors().step(status)) {
        stepFailure.clear();
    } else {
        stepFailure.raise("a serving step failed; it is tried again");
        pauseBeforeTheNextTry();
    }
    return true;
} catch (const std::exception& failure) {
    stepFailure.raise(failure.what());
    pauseBeforeTheNextTry();
    return true;
}
