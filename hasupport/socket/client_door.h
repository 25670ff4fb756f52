// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <memory>
#include <string_view>
#include <vector>

#include "hasupport/door/door.h"
#include "hasupport/socket/client_connection.h"
#include "hasupport/socket/client_limits.h"
#include "hasupport/socket/request.h"
#include "hasupport/socket/status_reply.h"

namespace KORA::HA::Daemon::support {

/// The door for local clients: a listener and its connections, one JSON object per line each way.
/// When all places are taken, the client that has been without a complete request longest makes
/// room; those that watch do so only when there is nobody else.
class ClientDoor : public Door, private RequestHandler {
  public:
    /// `listener` is a listening, non-blocking stream socket that stays the caller's.
    explicit ClientDoor(int listener, ClientLimits limits = {}, StatusSources sources = {});

    void collect(std::vector<pollfd>& fds, SteadyClock::time_point& wakeAt) override;
    bool serve(std::span<const pollfd> own, Status& status) override;

    std::size_t clientCount() const { return clients_.size(); }

  private:
    using Client = std::unique_ptr<ClientConnection>;
    using Clients = std::vector<Client>;

    void handle(ClientConnection& client, std::string_view line) override;
    void startWatching(ClientConnection& client);
    SharedLine currentLine();

    template <typename Step>
    void attend(ClientConnection& client, const Step& step);
    void failed(const char* why);
    void serveClients(std::span<const pollfd> own);
    void tellWatchers();
    void dropDead();
    std::size_t watcherCount() const;

    bool acceptClients();
    void takeIn(UniqueFd fd);
    bool onlyWatchers() const;
    SteadyClock::time_point mayGoAt(const ClientConnection& client) const;
    SteadyClock::time_point acceptsAgainAt() const;
    void makeRoom();

    int listener_;
    ClientLimits limits_;
    RequestReader requests_;
    StatusReply reply_;
    Clients clients_;
    // Of the serving step in progress.
    const Status* status_ = nullptr;
    SteadyClock::time_point now_;
    bool fine_ = true;      // nothing failed in it
    bool listens_ = false;  // the listener was among the collected descriptors
    SteadyClock::time_point pausedUntil_;
    SteadyClock::time_point nextLook_;
};

}  // namespace KORA::HA::Daemon::support
