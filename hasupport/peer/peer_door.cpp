// SPDX-License-Identifier: Apache-2.0
#include "hasupport/peer/peer_door.h"

#include <sys/socket.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <utility>

#include "hasupport/io/shortage.h"
#include "hasupport/peer/peer_requests.h"
#include "hasupport/peer/restart_duty.h"
#include "hasupport/settings/link_addresses.h"
#include "hasupport/settings/support_settings.h"

namespace KORA::HA::Daemon::support {
namespace {

constexpr std::size_t connectionLimit = 8;
constexpr std::size_t knocksPerStep = 16;
// Fewer than there are places: whoever comes in is heard at least once before it may have to go.
constexpr std::size_t guestsPerStep = connectionLimit / 2;
constexpr std::chrono::seconds retryEvery{1};
constexpr std::chrono::seconds lookEvery{1};
constexpr std::chrono::seconds refusalEvery{10};

}  // namespace

void PeerDoor::collect(std::vector<pollfd>& fds, SteadyClock::time_point& wakeAt) {
    keepListener();
    const auto now = SteadyClock::now();
    listens_ = listener_ && acceptsAt_ <= now;
    if (listens_) {
        fds.push_back({listener_.get(), POLLIN, 0});
    } else {
        wakeAt = std::min(wakeAt, listener_ ? acceptsAt_ : now + retryEvery);
    }
    for (const auto& connection : connections_) {
        fds.push_back({connection->fd(), connection->events(), 0});
        wakeAt = std::min(wakeAt, connection->endsAt());
    }
}

bool PeerDoor::serve(std::span<const pollfd> own, Status& status) {
    const PeerRequestHandler handler = [&](std::string_view payload, bool authenticated) {
        return answerPeer(payload, authenticated, status);
    };
    const auto clients = own.subspan(listens_ ? 1 : 0);
    for (std::size_t i = 0; i < clients.size(); ++i) {
        if (clients[i].revents != 0) {
            connections_[i]->serve(handler);
        }
    }
    dropDone();
    keepRestartInLog();
    if (listens_ && own.front().revents != 0) {
        acceptAll();
    }
    return true;
}

void PeerDoor::keepListener() {
    // One exchange is several steps; nothing changes so fast that each of them must look again.
    const auto now = SteadyClock::now();
    if (listener_ && now < nextLookAt_) {
        return;
    }
    nextLookAt_ = now + lookEvery;
    const LinkAddresses link = linkAddresses();
    const PeerKeys keys = readPeerKeys(supportSettings().peerKeyPath);
    if (keys.shortage) {  // it says nothing about the file; who comes in needs a good one anyway
        tellShortage();
        return;
    }
    std::string problem = keys.problem;
    const auto route = planPeerRoute(link, problem);
    const unsigned index = interfaceIndex(listener_, link.interface);
    if (!problem.empty() || !route) {
        listener_.reset();
        closed_.raise("the peer is not served: " + problem);
    } else if (index == 0) {
        listener_.reset();
        closed_.raise("the peer is not served: there is no interface " + link.interface);
    } else if (!listener_ || index != interfaceIndex_) {
        interfaceIndex_ = index;
        open(*route);
    }
}

void PeerDoor::open(const PeerRoute& route) {
    listener_.reset();
    listener_ = listenForPeer(route, supportSettings().peerPort);
    if (listener_) {
        closed_.clear("the peer is served again");
    } else {
        closed_.raise(std::string("the peer is not served: ") + std::strerror(errno));
    }
}

void PeerDoor::acceptAll() {
    std::size_t guests = 0;
    for (std::size_t i = 0; i < knocksPerStep && guests < guestsPerStep && listens_; ++i) {
        sockaddr_storage address{};
        socklen_t size = sizeof address;
        UniqueFd fd(::accept4(listener_.get(), reinterpret_cast<sockaddr*>(&address), &size,
                              SOCK_CLOEXEC | SOCK_NONBLOCK));
        if (!fd) {
            if (isShortage(errno)) {
                pauseForShortage();
            }
            return;
        }
        const auto from = IpAddress::from(address);
        guests += from && takeIn(std::move(fd), *from) ? 1 : 0;
    }
}

bool PeerDoor::takeIn(UniqueFd fd, const IpAddress& from) {
    const LinkAddresses link = linkAddresses();
    const auto peer = IpAddress::parse(link.remote, link.interface);
    if (!peer || !from.sameHost(*peer)) {
        tellRefusal("a connection from an address that is not the peer's");
        return false;
    }
    PeerKeys keys = readPeerKeys(supportSettings().peerKeyPath);
    if (keys.shortage) {
        pauseForShortage();
    }
    if (!keys.usable()) {  // since the listener was last looked at
        return false;
    }
    shortage_.clear("the peer is taken in again");
    if (connections_.size() >= connectionLimit) {
        makeRoom();
    }
    connections_.push_back(
        std::make_unique<PeerConnection>(std::move(fd), std::move(keys), SteadyClock::now()));
    return true;
}

void PeerDoor::tellShortage() {
    shortage_.raise("the peer cannot be taken in: descriptors or memory are exhausted");
}

// Whoever knocks goes on knocking: waiting for that again at once would be waiting for nothing.
void PeerDoor::pauseForShortage() {
    tellShortage();
    listens_ = false;
    acceptsAt_ = SteadyClock::now() + retryEvery;
}

// Among those that got least far, the oldest one: a crowd that only knocks displaces itself.
void PeerDoor::makeRoom() {
    connections_.erase(std::min_element(
        connections_.begin(), connections_.end(),
        [](const auto& one, const auto& other) { return one->progress() < other->progress(); }));
}

void PeerDoor::dropDone() {
    const auto now = SteadyClock::now();
    for (const auto& connection : connections_) {
        if (connection->done() && !connection->refusal().empty()) {
            tellRefusal(connection->refusal());
        }
    }
    std::erase_if(connections_,
                  [&](const auto& each) { return each->done() || now >= each->endsAt(); });
}

// At a bounded rate: whoever is refused must not fill the system log.
void PeerDoor::tellRefusal(const std::string& reason) {
    const auto now = SteadyClock::now();
    if (now < nextRefusalAt_) {
        ++untoldRefusals_;
        return;
    }
    nextRefusalAt_ = now + refusalEvery;
    const unsigned untold = std::exchange(untoldRefusals_, 0);
    notify("refused on the peer's port: " + reason +
           (untold > 0 ? " (and " + std::to_string(untold) + " more before)" : ""));
}

}  // namespace KORA::HA::Daemon::support
