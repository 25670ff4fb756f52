// SPDX-License-Identifier: Apache-2.0
// Asks for restarts without the right to: forged, replayed, altered, reflected, cut. None is
// obeyed, and every genuine one in between is obeyed once.
#include <gtest/gtest.h>
#include <sys/socket.h>

#include <array>
#include <cstdlib>
#include <filesystem>
#include <iostream>
#include <optional>
#include <random>
#include <string>
#include <vector>

#include "hasupport/peer/frame.h"
#include "hasupport/peer/peer_connection.h"
#include "hasupport/peer/peer_requests.h"
#include "hasupport/peer/restart_stamp.h"
#include "hasupport/status.h"
#include "tests/hasupport/peer/peer_link.h"
#include "tests/hasupport/peer/recorded_restart.h"

namespace KORA::HA::Daemon::support {
namespace {

constexpr long genuineRequests = 100;
constexpr const char* restartRequest = R"({"request":"restart","reason":"sda failed"})";
constexpr const char* stateRequest = R"({"request":"state"})";

long attacksWanted() {
    // NOLINTNEXTLINE(concurrency-mt-unsafe): before there is any thread
    const char* const text = std::getenv("KORAHA_FORGED");
    return text != nullptr ? std::strtol(text, nullptr, 10) : 20'000;
}

PeerKey ownKey() {
    return makePeerKey("0123456789abcdef0123456789abcdef");
}

/// One exchange with the service that a node offers its peer.
class Exchange {
  public:
    Exchange(const Nonce& nonce, const std::vector<KeyId>& keys) {
        std::array<int, 2> ends{-1, -1};
        EXPECT_EQ(::socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0, ends.data()),
                  0);
        client_ = UniqueFd(ends[0]);
        PeerKeys own;
        own.keys.push_back(ownKey());
        // Not late, however busy the machine is: nothing but the proof decides here.
        server_.emplace(UniqueFd(ends[1]), own, SteadyClock::now() + std::chrono::hours(1));
        session.clientNonce = nonce;
        if (const auto answer = say(encodeFrame(FrameType::hello, encodeHello({nonce, keys})));
            answer && answer->type == FrameType::challenge) {
            if (const auto challenge = decodeChallenge(answer->body)) {
                session.serverNonce = challenge->nonce;
            }
        }
    }

    /// Sends bytes and returns the frame that comes back.
    std::optional<Frame> say(const std::string& bytes) {
        ::send(client_.get(), bytes.data(), bytes.size(), MSG_NOSIGNAL);
        server_->serve([](std::string_view payload, bool authenticated) {
            static Status status;
            return answerPeer(payload, authenticated, status);
        });
        std::array<char, 4096> chunk{};
        const ssize_t got = ::recv(client_.get(), chunk.data(), chunk.size(), MSG_DONTWAIT);
        const FrameScan scan =
            scanFrame({chunk.data(), got > 0 ? static_cast<std::size_t>(got) : 0U});
        return scan.state == FrameScan::State::complete ? std::optional(scan.frame) : std::nullopt;
    }

    /// The peer's proof for a payload in this exchange.
    std::string sealed(const PeerKey& key, FrameType type, std::string_view payload) const {
        return sealBody({session.clientNonce, session.serverNonce, &key}, type, payload);
    }

    Session session;

  private:
    UniqueFd client_;
    std::optional<PeerConnection> server_;
};

/// What somebody on the wire has seen of an exchange that was genuine.
struct Seen {
    Nonce clientNonce{};
    Nonce serverNonce{};
    std::string request;
    std::string reply;
};

class ForgedRestarts : public testing::Test {
  protected:
    void genuine() {
        std::filesystem::remove(obeyedStampPath());
        restart_.calls.clear();
        Exchange exchange(freshNonce(), {key_.id});
        seen_.request = encodeFrame(FrameType::request,
                                    exchange.sealed(key_, FrameType::request, restartRequest));
        seen_.clientNonce = exchange.session.clientNonce;
        seen_.serverNonce = exchange.session.serverNonce;
        const auto answer = exchange.say(seen_.request);
        ASSERT_TRUE(answer && answer->type == FrameType::reply);
        seen_.reply = answer->body;
        EXPECT_NE(answer->body.find("\"accepted\":true"), std::string::npos) << answer->body;
        EXPECT_EQ(restart_.calls.size(), 3U);  // armed, told, started
        restart_.calls.clear();
        // So that nothing but the proof stands against what follows.
        std::filesystem::remove(obeyedStampPath());
    }

    std::size_t below(std::size_t limit) {
        return std::uniform_int_distribution<std::size_t>(0, limit - 1)(random_);
    }

    std::string flipped(std::string bytes) {
        char& byte = bytes.at(below(bytes.size()));
        byte = static_cast<char>(static_cast<unsigned char>(byte) ^ (1U << below(8)));
        return bytes;
    }

    /// The body of a request that does not deserve to be obeyed.
    std::string body(long kind, const Exchange& at) {
        const std::string real = at.sealed(key_, FrameType::request, restartRequest);
        const std::string proof = real.substr(0, authenticatorBytes);
        const PeerKey wrong = makePeerKey(std::string(peerKeyBytes, static_cast<char>(below(256))));
        switch (kind) {
            case 0:  // another key
                return at.sealed(wrong, FrameType::request, restartRequest);
            case 1:  // altered anywhere
                return flipped(real);
            case 2:  // cut
                return real.substr(0, below(real.size()));
            case 3:  // the proof of a harmless request
                return at.sealed(key_, FrameType::request, stateRequest)
                           .substr(0, authenticatorBytes) +
                       restartRequest;
            case 4:  // what the server itself would say
                return at.sealed(key_, FrameType::reply, restartRequest);
            case 5:  // an answer that was seen
                return seen_.reply;
            case 6:  // an old nonce of the server's
                return sealBody({at.session.clientNonce, seen_.serverNonce, &key_},
                                FrameType::request, restartRequest);
            case 7:  // nonces the other way round
                return sealBody({at.session.serverNonce, at.session.clientNonce, &key_},
                                FrameType::request, restartRequest);
            case 8:  // no proof
                return restartRequest;
            case 9:  // a guess
                return std::string(authenticatorBytes, static_cast<char>(below(256))) +
                       restartRequest;
            default:  // more than was proved
                return proof + restartRequest + ' ';
        }
    }
    static constexpr long bodyKinds = 11;

    void attack(long number) {
        const long kind = number % (bodyKinds + 3);
        if (kind < bodyKinds) {
            Exchange exchange(freshNonce(), {key_.id});
            exchange.say(encodeFrame(FrameType::request, body(kind, exchange)));
        } else if (kind == bodyKinds) {  // a whole exchange again
            Exchange(seen_.clientNonce, {key_.id}).say(seen_.request);
        } else if (kind == bodyKinds + 1) {  // without the key
            Exchange(freshNonce(), {}).say(encodeFrame(FrameType::request, restartRequest));
        } else {  // a frame altered anywhere, its head included
            Exchange exchange(freshNonce(), {key_.id});
            exchange.say(flipped(encodeFrame(
                FrameType::request, exchange.sealed(key_, FrameType::request, restartRequest))));
        }
        ASSERT_TRUE(restart_.calls.empty()) << "attack " << number << " of kind " << kind;
    }

    PeerKey key_ = ownKey();
    koraha::test::PeerLink link_;
    koraha::test::RecordedRestart restart_;
    Seen seen_;
    std::mt19937_64 random_{std::random_device{}()};
};

TEST_F(ForgedRestarts, AreNeverObeyed) {
    koraha::test::onLoopback([this] {
        const long attacks = attacksWanted();
        for (long genuineSoFar = 0; genuineSoFar < genuineRequests; ++genuineSoFar) {
            genuine();
            const long from = attacks * genuineSoFar / genuineRequests;
            const long to = attacks * (genuineSoFar + 1) / genuineRequests;
            for (long number = from; number < to && !HasFailure(); ++number) {
                attack(number);
            }
            ASSERT_FALSE(HasFailure());
            ASSERT_FALSE(std::filesystem::exists(obeyedStampPath()));
        }
        std::cout << attacks << " requests without the right to it, 0 obeyed; " << genuineRequests
                  << " genuine ones, each obeyed once\n";
    });
}

}  // namespace
}  // namespace KORA::HA::Daemon::support
