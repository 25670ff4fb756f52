// SPDX-License-Identifier: Apache-2.0
#include "hasupport/peer/peer_connection.h"

#include <poll.h>
#include <sys/socket.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <utility>

#include "hasupport/peer/own_greeting.h"

namespace KORA::HA::Daemon::support {
namespace {

constexpr std::chrono::seconds timeToFinish{1};
constexpr std::size_t chunkBytes = 4096;

}  // namespace

PeerConnection::PeerConnection(UniqueFd fd, PeerKeys keys, SteadyClock::time_point now)
    : fd_(std::move(fd)), keys_(std::move(keys)), endsAt_(now + timeToFinish) {}

int PeerConnection::progress() const {
    if (awaits_ == Awaits::hello) {
        return 0;
    }
    return authenticated_ ? 2 : 1;
}

short PeerConnection::events() const {
    return static_cast<short>(unsent_.empty() ? POLLIN : POLLOUT);
}

void PeerConnection::serve(const PeerRequestHandler& handler) {
    if (unsent_.empty()) {
        receive(handler);
    }
    flush();
}

void PeerConnection::receive(const PeerRequestHandler& handler) {
    std::array<char, chunkBytes> chunk;  // NOLINT: filled by recv
    const ssize_t got = ::recv(fd_.get(), chunk.data(), chunk.size(), 0);
    if (got <= 0) {
        done_ = got == 0 || (errno != EAGAIN && errno != EWOULDBLOCK && errno != EINTR);
        return;
    }
    received_.append(chunk.data(), static_cast<std::size_t>(got));
    const FrameScan scan = scanFrame(received_);
    if (scan.state == FrameScan::State::broken) {
        refuse(scan.problem);
    } else if (scan.state == FrameScan::State::complete) {
        received_.clear();
        handle(scan.frame, handler);
    }
}

void PeerConnection::handle(const Frame& frame, const PeerRequestHandler& handler) {
    if (awaits_ == Awaits::hello && frame.type == FrameType::hello) {
        onHello(frame.body);
    } else if (awaits_ == Awaits::request && frame.type == FrameType::request) {
        onRequest(frame.body, handler);
    } else {
        refuse("a frame out of turn");
    }
}

// A node that holds a key neither gives nor takes an unauthenticated message.
void PeerConnection::onHello(const std::string& body) {
    const auto hello = decodeHello(body);
    if (!hello) {
        refuse("a malformed greeting");
        return;
    }
    if (OwnGreeting::has(hello->nonce)) {
        refuse("a greeting of this node's own");
        return;
    }
    const auto shared = std::find_if(hello->keys.begin(), hello->keys.end(),
                                     [&](const KeyId& id) { return keys_.find(id) != nullptr; });
    Challenge challenge;
    if (shared != hello->keys.end()) {
        challenge.key = *shared;
    } else if (!hello->keys.empty() || !keys_.keys.empty()) {
        refuse("no key that both nodes hold");
        return;
    }
    challenge.nonce = freshNonce();
    session_ = {hello->nonce, challenge.nonce,
                challenge.key ? keys_.find(*challenge.key) : nullptr};
    awaits_ = Awaits::request;
    answer(FrameType::challenge, encodeChallenge(challenge));
}

// Whoever asked has long given up: what it asked for may be what nobody needs any more.
void PeerConnection::onRequest(const std::string& body, const PeerRequestHandler& handler) {
    if (SteadyClock::now() >= endsAt_) {
        refuse("a request that came too late");
        return;
    }
    const auto payload = openBody(session_, FrameType::request, body);
    if (!payload) {
        refuse("a request that does not prove itself");
        return;
    }
    authenticated_ = session_.key != nullptr;
    awaits_ = Awaits::nothing;
    answer(FrameType::reply,
           sealBody(session_, FrameType::reply, handler(*payload, authenticated_)));
}

void PeerConnection::answer(FrameType type, std::string_view body) {
    unsent_ = encodeFrame(type, body);
}

void PeerConnection::refuse(std::string_view reason) {
    refusal_ = reason;
    awaits_ = Awaits::nothing;
    answer(FrameType::refusal, reason);
}

void PeerConnection::flush() {
    if (unsent_.empty()) {
        return;
    }
    const ssize_t sent = ::send(fd_.get(), unsent_.data(), unsent_.size(), MSG_NOSIGNAL);
    if (sent > 0) {
        unsent_.erase(0, static_cast<std::size_t>(sent));
    } else if (errno != EAGAIN && errno != EWOULDBLOCK && errno != EINTR) {
        done_ = true;
    }
    done_ = done_ || (unsent_.empty() && awaits_ == Awaits::nothing);
}

}  // namespace KORA::HA::Daemon::support
