// SPDX-License-Identifier: Apache-2.0
#include "hasupport/local_socket.h"

#include <exception>
#include <optional>
#include <utility>

#include "hasupport/io/notice.h"
#include "hasupport/socket/client_door.h"
#include "hasupport/socket/socket_path.h"

namespace KORA::HA::Daemon {
namespace {

constexpr std::chrono::seconds stepSpan{5};

constinit support::Notice setUpFailure;

}  // namespace

class DaemonLocalSocket::Impl {
  public:
    Impl(std::string path, unsigned int maxClients) : path_(std::move(path)) {
        limits_.clients = maxClients;
    }

    bool isUsable() const { return path_.isUsable(); }
    void attach(Status* status) { status_ = status; }

    bool bind() {
        if (door_) {
            return true;
        }
        if (!path_.bindAndListen()) {
            return false;
        }
        door_.emplace(path_.listener(), limits_);
        return true;
    }

    bool step() {
        if (!door_ || status_ == nullptr) {
            return false;
        }
        support::Door* const doors[] = {&*door_};
        return support::serveDoors(doors, *status_, stepSpan);
    }

  private:
    support::SocketPath path_;
    support::ClientLimits limits_;
    Status* status_ = nullptr;
    std::optional<support::ClientDoor> door_;  // goes before the path that it listens on
};

DaemonLocalSocket::DaemonLocalSocket(std::string path, unsigned int maxClients) {
    try {
        impl_ = std::make_unique<Impl>(std::move(path), maxClients);
    } catch (const std::exception& failure) {
        setUpFailure.raise(failure.what());  // hasError() tells the caller
    }
}

DaemonLocalSocket::~DaemonLocalSocket() = default;

bool DaemonLocalSocket::hasError() const {
    return !impl_ || !impl_->isUsable();
}

bool DaemonLocalSocket::serverBind() try {
    return impl_ && impl_->bind();
} catch (const std::exception& failure) {
    setUpFailure.raise(failure.what());
    return false;
}

bool DaemonLocalSocket::serverListen() {
    return impl_ && impl_->step();
}

void DaemonLocalSocket::attach(Status* status) {
    if (impl_) {
        impl_->attach(status);
    }
}

MonitordSocket::MonitordSocket(std::string path, unsigned int maxClients)
    : DaemonLocalSocket(std::move(path), maxClients) {}

MonitordSocket::~MonitordSocket() = default;

void MonitordSocket::setStatus(Status* status) {
    attach(status);
}

}  // namespace KORA::HA::Daemon
