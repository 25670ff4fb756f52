// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <memory>
#include <string>
#include <vector>

#include "hasupport/door/door.h"
#include "hasupport/io/notice.h"
#include "hasupport/peer/peer_connection.h"
#include "hasupport/peer/peer_socket.h"

namespace KORA::HA::Daemon::support {

/// The door for the peer: TCP on the local replication address. A missing interface, a taken port
/// or exhausted descriptors are retried each second and said once; an interface that was removed
/// and made anew gets a new listener.
class PeerDoor : public Door {
  public:
    void collect(std::vector<pollfd>& fds, SteadyClock::time_point& wakeAt) override;
    bool serve(std::span<const pollfd> own, Status& status) override;

    std::size_t connectionCount() const { return connections_.size(); }

  private:
    void keepListener();
    void open(const PeerRoute& route);
    void acceptAll();
    bool takeIn(UniqueFd fd, const IpAddress& from);
    void makeRoom();
    void dropDone();
    void tellRefusal(const std::string& reason);
    void tellShortage();
    void pauseForShortage();

    UniqueFd listener_;
    unsigned interfaceIndex_ = 0;
    SteadyClock::time_point nextLookAt_;
    std::vector<std::unique_ptr<PeerConnection>> connections_;
    bool listens_ = false;  // the listener was among the collected descriptors
    SteadyClock::time_point acceptsAt_;
    Notice closed_;
    Notice shortage_;
    SteadyClock::time_point nextRefusalAt_;
    unsigned untoldRefusals_ = 0;
};

}  // namespace KORA::HA::Daemon::support
