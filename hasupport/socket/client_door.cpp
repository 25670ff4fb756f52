// SPDX-License-Identifier: Apache-2.0
#include "hasupport/socket/client_door.h"

#include <sys/socket.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <exception>
#include <string>
#include <utility>

#include "hasupport/io/notice.h"
#include "hasupport/text/json_text.h"

namespace KORA::HA::Daemon::support {
namespace {

constexpr int acceptsPerStep = 8;  // the clients that are in come first
constexpr int sendBufferBytes = 64 * 1024;

constinit Notice acceptFailure;
constinit Notice clientFailure;

SharedLine errorLine(std::string_view problem) {
    JsonText json;
    json.openObject().key("version").integer(1).key("error").text(problem).closeObject();
    return std::make_shared<const std::string>(json.take() + '\n');
}

/// The client has left again, or nobody is there any more: no failure of ours.
bool isNoFailure(int error) {
    return error == EAGAIN || error == EWOULDBLOCK || error == ECONNABORTED || error == EINTR;
}

}  // namespace

ClientDoor::ClientDoor(int listener, ClientLimits limits, StatusSources sources)
    : listener_(listener), limits_(limits), reply_(std::move(sources)) {
    limits_.clients = std::max<std::size_t>(limits_.clients, 1);
}

void ClientDoor::collect(std::vector<pollfd>& fds, SteadyClock::time_point& wakeAt) {
    const auto now = SteadyClock::now();
    const auto acceptsAt = acceptsAgainAt();
    listens_ = acceptsAt <= now;
    if (listens_) {
        fds.push_back({listener_, POLLIN, 0});
    } else {
        wakeAt = std::min(wakeAt, acceptsAt);
    }
    for (const Client& client : clients_) {
        fds.push_back({client->fd(), client->events(), 0});
        if (const auto due = client->deadline(limits_.patience)) {
            wakeAt = std::min(wakeAt, *due);
        }
        if (client->isReady()) {
            wakeAt = now;
        }
    }
    if (watcherCount() > 0) {
        wakeAt = std::min(wakeAt, nextLook_);
    }
}

bool ClientDoor::serve(std::span<const pollfd> own, Status& status) {
    status_ = &status;
    now_ = SteadyClock::now();
    fine_ = true;
    serveClients(own.subspan(listens_ ? 1 : 0));
    tellWatchers();
    dropDead();
    const bool someoneKnocks = listens_ && own.front().revents != 0;
    const bool accepted = !someoneKnocks || acceptClients();
    if (fine_) {
        clientFailure.clear();
    }
    return accepted && fine_;
}

void ClientDoor::failed(const char* why) {
    std::array<char, 128> text{};  // there may be no memory to put it together in
    (void)std::snprintf(text.data(), text.size(), "a local client could not be served: %s", why);
    clientFailure.raise(text.data());
    fine_ = false;
}

/// Where something is thrown (memory is short) a request may be taken and not answered, or a reply
/// half out: that client goes, so that it knows, and the others are served all the same.
template <typename Step>
void ClientDoor::attend(ClientConnection& client, const Step& step) {
    try {
        step(client);
    } catch (const std::exception& failure) {
        client.drop();
        failed(failure.what());
    }
}

void ClientDoor::serveClients(std::span<const pollfd> own) {
    for (std::size_t index = 0; index < own.size() && index < clients_.size(); ++index) {
        ClientConnection& client = *clients_[index];
        if (own[index].revents != 0 || client.isReady()) {
            attend(client,
                   [&](ClientConnection& one) { one.serve(own[index].revents, *this, now_); });
        }
        client.expire(limits_.patience, now_);
    }
}

SharedLine ClientDoor::currentLine() {
    return reply_.line(*status_, now_);
}

void ClientDoor::handle(ClientConnection& client, std::string_view line) {
    const Request request = requests_.read(line);
    switch (request.kind) {
        case RequestKind::status:
            client.reply(currentLine());
            break;
        case RequestKind::watch:
            startWatching(client);
            break;
        case RequestKind::history:
            client.reply(HistoryReply());
            break;
        case RequestKind::invalid:
            client.reply(errorLine(request.problem));
            break;
    }
}

void ClientDoor::startWatching(ClientConnection& client) {
    if (!client.isWatching() && watcherCount() >= limits_.watchers) {
        client.reply(errorLine("too many clients watch already"));
        return;
    }
    if (watcherCount() == 0) {
        nextLook_ = now_ + limits_.lookEvery;
    }
    client.reply(currentLine());
    client.watch(reply_.changes(), now_);
}

// Those that are not told of a change now are told at the next look.
void ClientDoor::tellWatchers() try {
    if (now_ < nextLook_ || watcherCount() == 0) {
        return;
    }
    nextLook_ = now_ + limits_.lookEvery;
    const SharedLine line = currentLine();
    for (const Client& client : clients_) {
        if (client->isDue(reply_.changes(), limits_.signOfLife, now_)) {
            attend(*client, [&](ClientConnection& one) { one.tell(line, reply_.changes(), now_); });
        }
    }
} catch (const std::exception& failure) {
    failed(failure.what());
}

void ClientDoor::dropDead() {
    std::erase_if(clients_, [](const Client& client) { return !client->isAlive(); });
}

std::size_t ClientDoor::watcherCount() const {
    return static_cast<std::size_t>(
        std::count_if(clients_.begin(), clients_.end(),
                      [](const Client& client) { return client->isWatching(); }));
}

bool ClientDoor::onlyWatchers() const {
    return watcherCount() == clients_.size();
}

/// A client that has only just come keeps its place until it is heard: else a flood would push
/// everyone out before that. Those that watch go when there is nobody else.
SteadyClock::time_point ClientDoor::mayGoAt(const ClientConnection& client) const {
    if (client.isWatching() && !onlyWatchers()) {
        return SteadyClock::time_point::max();
    }
    return client.isHeard() ? client.since() : client.since() + limits_.grace;
}

/// When all places are taken, the next client waits until one of the others may go.
SteadyClock::time_point ClientDoor::acceptsAgainAt() const {
    if (clients_.size() < limits_.clients) {
        return pausedUntil_;
    }
    auto earliest = SteadyClock::time_point::max();
    for (const Client& client : clients_) {
        earliest = std::min(earliest, mayGoAt(*client));
    }
    return std::max(pausedUntil_, earliest);
}

/// Of those that may go, the one that has been without a complete request longest goes.
void ClientDoor::makeRoom() {
    auto leaving = clients_.end();
    for (auto at = clients_.begin(); at != clients_.end(); ++at) {
        const bool isBefore =
            leaving == clients_.end() || (*at)->lastRequest() < (*leaving)->lastRequest();
        if (mayGoAt(**at) <= now_ && isBefore) {
            leaving = at;
        }
    }
    if (leaving != clients_.end()) {
        clients_.erase(leaving);
    }
}

void ClientDoor::takeIn(UniqueFd fd) try {
    if (clients_.size() >= limits_.clients) {
        makeRoom();
    }
    // A client that does not read shows early, and holds little of the kernel's memory.
    ::setsockopt(fd.get(), SOL_SOCKET, SO_SNDBUF, &sendBufferBytes, sizeof(sendBufferBytes));
    clients_.push_back(std::make_unique<ClientConnection>(std::move(fd), now_));
    attend(*clients_.back(), [this](ClientConnection& client) {
        client.serve(POLLIN, *this, now_);  // its request is mostly there already
    });
    dropDead();
} catch (const std::exception& failure) {
    failed(failure.what());  // it has no place: its connection is closed
}

bool ClientDoor::acceptClients() {
    for (int count = 0; count < acceptsPerStep && acceptsAgainAt() <= now_; ++count) {
        UniqueFd fd(::accept4(listener_, nullptr, nullptr, SOCK_NONBLOCK | SOCK_CLOEXEC));
        if (fd) {
            takeIn(std::move(fd));
        } else if (const int error = errno; isNoFailure(error)) {
            break;
        } else {
            acceptFailure.raise(std::string("cannot take a client in: ") + std::strerror(error));
            pausedUntil_ = now_ + limits_.acceptPause;
            return false;
        }
    }
    acceptFailure.clear();
    return true;
}

}  // namespace KORA::HA::Daemon::support
