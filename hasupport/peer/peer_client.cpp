// SPDX-License-Identifier: Apache-2.0
#include "hasupport/peer/peer_client.h"

#include <poll.h>
#include <sys/socket.h>

#include <array>
#include <cerrno>
#include <cstring>

#include "hasupport/peer/frame.h"
#include "hasupport/peer/own_greeting.h"
#include "hasupport/peer/peer_key.h"
#include "hasupport/peer/peer_socket.h"
#include "hasupport/settings/support_settings.h"

namespace KORA::HA::Daemon::support {
namespace {

constexpr std::size_t chunkBytes = 4096;

/// The client's side of one connection. Every step gives up at the deadline.
class Exchange {
  public:
    Exchange(UniqueFd fd, int family, const Deadline& deadline)
        : fd_(std::move(fd)), family_(family), deadline_(deadline) {}

    bool connected() {
        int error = 0;
        socklen_t size = sizeof error;
        if (!wait(POLLOUT)) {
            return false;
        }
        if (::getsockopt(fd_.get(), SOL_SOCKET, SO_ERROR, &error, &size) != 0 || error != 0) {
            return fail(std::strerror(error));
        }
        return requireOnLink(fd_.get(), family_) || fail("the link cannot be required");
    }

    bool send(FrameType type, std::string_view body) {
        const std::string bytes = encodeFrame(type, body);
        std::size_t sent = 0;
        while (sent < bytes.size()) {
            const ssize_t now =
                ::send(fd_.get(), bytes.data() + sent, bytes.size() - sent, MSG_NOSIGNAL);
            if (now > 0) {
                sent += static_cast<std::size_t>(now);
            } else if (!mayRetry(POLLOUT)) {
                return false;
            }
        }
        return true;
    }

    std::optional<std::string> receive(FrameType wanted) {
        std::string received;
        for (;;) {
            FrameScan scan = scanFrame(received);
            if (scan.state == FrameScan::State::complete) {
                return take(scan.frame, wanted);
            }
            if (scan.state == FrameScan::State::broken) {
                fail("the peer sent what is no answer: " + scan.problem);
                return std::nullopt;
            }
            if (!receiveMore(received)) {
                return std::nullopt;
            }
        }
    }

    const std::string& problem() const { return problem_; }
    bool fail(std::string problem) {
        problem_ = std::move(problem);
        return false;
    }

  private:
    std::optional<std::string> take(Frame& frame, FrameType wanted) {
        if (frame.type == wanted) {
            return std::move(frame.body);
        }
        fail(frame.type == FrameType::refusal ? "the peer refused: " + printable(frame.body)
                                              : "the peer answered out of turn");
        return std::nullopt;
    }

    static std::string printable(std::string_view text) {
        constexpr std::size_t limit = 80;
        std::string out(text.substr(0, limit));
        for (char& c : out) {
            c = c < ' ' || c > '~' ? '?' : c;
        }
        return out;
    }

    bool receiveMore(std::string& received) {
        std::array<char, chunkBytes> chunk;  // NOLINT: filled by recv
        for (;;) {
            const ssize_t got = ::recv(fd_.get(), chunk.data(), chunk.size(), 0);
            if (got > 0) {
                received.append(chunk.data(), static_cast<std::size_t>(got));
                return true;
            }
            if (got == 0) {
                return fail("the peer hung up");
            }
            if (!mayRetry(POLLIN)) {
                return false;
            }
        }
    }

    bool mayRetry(short event) {
        if (errno == EINTR) {
            return true;
        }
        if (errno == EAGAIN || errno == EWOULDBLOCK) {
            return wait(event);
        }
        return fail(std::strerror(errno));
    }

    bool wait(short event) {
        pollfd waiting{fd_.get(), event, 0};
        int ready = 0;
        do {
            ready = ::poll(&waiting, 1, deadline_.pollTimeout());
        } while (ready < 0 && errno == EINTR);
        return ready > 0 || fail("no answer in time");
    }

    UniqueFd fd_;
    int family_;
    Deadline deadline_;
    std::string problem_;
};

/// Agrees with the peer on nonces and a key, or on none where neither node has one.
bool agree(Exchange& exchange, const PeerKeys& keys, Session& session) {
    Hello hello;
    hello.nonce = session.clientNonce;
    for (const PeerKey& key : keys.keys) {
        hello.keys.push_back(key.id);
    }
    if (!exchange.send(FrameType::hello, encodeHello(hello))) {
        return false;
    }
    const auto body = exchange.receive(FrameType::challenge);
    if (!body) {
        return false;
    }
    const auto challenge = decodeChallenge(*body);
    if (!challenge) {
        return exchange.fail("the peer's challenge is malformed");
    }
    session.serverNonce = challenge->nonce;
    session.key = challenge->key ? keys.find(*challenge->key) : nullptr;
    if (session.key == nullptr && (challenge->key || !keys.keys.empty())) {
        return exchange.fail("the peer does not hold this node's key");
    }
    return true;
}

/// `toItself`: the peer is this very host, and gets this node's own greetings by right.
PeerAnswer converse(Exchange& exchange, const PeerKeys& keys, std::string_view request,
                    bool toItself) {
    Session session;
    session.clientNonce = freshNonce();
    std::optional<OwnGreeting> greeting;
    if (!toItself) {
        greeting.emplace(session.clientNonce);
    }
    PeerAnswer answer;
    if (exchange.connected() && agree(exchange, keys, session) &&
        exchange.send(FrameType::request, sealBody(session, FrameType::request, request))) {
        if (const auto body = exchange.receive(FrameType::reply)) {
            answer.payload = openBody(session, FrameType::reply, *body);
            answer.authenticated = session.key != nullptr;
            if (!answer.payload) {
                exchange.fail("the peer's answer does not prove itself");
            }
        }
    }
    answer.problem = exchange.problem();
    return answer;
}

}  // namespace

PeerAnswer askPeer(std::string_view request, bool needKey, const Deadline& deadline) {
    const SupportSettings& settings = supportSettings();
    const PeerKeys keys = readPeerKeys(settings.peerKeyPath);
    if (!keys.usable()) {
        return {{}, false, keys.problem};
    }
    if (needKey && keys.keys.empty()) {
        return {{}, false, "this node has no peer key"};
    }
    std::string problem;
    const auto route = planPeerRoute(linkAddresses(), problem);
    if (!route) {
        return {{}, false, problem};
    }
    UniqueFd fd = connectToPeer(*route, settings.peerPort);
    if (!fd) {
        return {{}, false, std::string("the peer cannot be reached: ") + std::strerror(errno)};
    }
    Exchange exchange(std::move(fd), route->local.family(), deadline);
    return converse(exchange, keys, request, route->device.empty());
}

}  // namespace KORA::HA::Daemon::support
