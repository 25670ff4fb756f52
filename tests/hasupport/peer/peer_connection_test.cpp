// SPDX-License-Identifier: Apache-2.0
#include "hasupport/peer/peer_connection.h"

#include <gtest/gtest.h>
#include <poll.h>
#include <sys/socket.h>

#include <array>
#include <optional>
#include <string>
#include <vector>

#include "hasupport/peer/own_greeting.h"

// The server's side of one exchange, against a client that this test plays byte by byte.

namespace KORA::HA::Daemon::support {
namespace {

PeerKey key(char fill) {
    return makePeerKey(std::string(peerKeyBytes, fill));
}

/// One connection and its client's end. What the client sends is served at once.
class Conversation {
  public:
    /// A busy machine is no reason to refuse: but for tests of that, its time is never over.
    explicit Conversation(std::vector<PeerKey> serverKeys,
                          SteadyClock::time_point since = SteadyClock::now() +
                                                          std::chrono::hours(1)) {
        std::array<int, 2> ends{};
        EXPECT_EQ(::socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0, ends.data()),
                  0);
        client_ = UniqueFd(ends[0]);
        server_.emplace(UniqueFd(ends[1]), PeerKeys{std::move(serverKeys), {}}, since);
    }

    PeerConnection& server() { return *server_; }
    const std::vector<std::string>& handled() const { return handled_; }
    bool handledAuthenticated() const { return authenticated_; }

    void send(const std::string& bytes) {
        EXPECT_EQ(::send(client_.get(), bytes.data(), bytes.size(), MSG_NOSIGNAL),
                  static_cast<ssize_t>(bytes.size()));
        serve();
    }

    void serve() {
        pollfd ready{server_->fd(), server_->events(), 0};
        while (!server_->done() && ::poll(&ready, 1, 0) > 0) {
            server_->serve([this](std::string_view payload, bool authenticated) {
                handled_.emplace_back(payload);
                authenticated_ = authenticated;
                return "answer to " + std::string(payload);
            });
            ready.events = server_->events();
        }
    }

    /// The frame that the server sent; nothing when it sent none.
    std::optional<Frame> receive() {
        std::array<char, 4096> chunk{};
        const ssize_t got = ::recv(client_.get(), chunk.data(), chunk.size(), 0);
        if (got <= 0) {
            return std::nullopt;
        }
        FrameScan scan = scanFrame({chunk.data(), static_cast<std::size_t>(got)});
        EXPECT_EQ(scan.state, FrameScan::State::complete) << scan.problem;
        return scan.frame;
    }

    /// Greets with the keys; the session that came of it, or nothing after a refusal.
    std::optional<Session> greet(const std::vector<PeerKey>& keys,
                                 const Nonce& nonce = freshNonce()) {
        Hello hello{nonce, {}};
        for (const PeerKey& each : keys) {
            hello.keys.push_back(each.id);
        }
        send(encodeFrame(FrameType::hello, encodeHello(hello)));
        const auto frame = receive();
        if (!frame || frame->type != FrameType::challenge) {
            return std::nullopt;
        }
        const auto challenge = decodeChallenge(frame->body);
        EXPECT_TRUE(challenge);
        Session session{hello.nonce, challenge->nonce, nullptr};
        for (const PeerKey& each : keys) {
            session.key = challenge->key == each.id ? &each : session.key;
        }
        return session;
    }

    void expectRefused(const std::string& why) {
        const auto frame = receive();
        ASSERT_TRUE(frame);
        EXPECT_EQ(frame->type, FrameType::refusal);
        EXPECT_EQ(frame->body, why);
        EXPECT_EQ(server_->refusal(), why);
        EXPECT_TRUE(server_->done());
        EXPECT_FALSE(server_->authenticated());
        EXPECT_TRUE(handled_.empty());
    }

  private:
    UniqueFd client_;
    std::optional<PeerConnection> server_;
    std::vector<std::string> handled_;
    bool authenticated_ = false;
};

// Somebody on the link leads what this node sends back to it: both ends hold the same key.
TEST(PeerConnection, RefusesThisNodesOwnGreeting) {
    const std::vector<PeerKey> keys{key('k')};
    const Nonce nonce = freshNonce();
    {
        const OwnGreeting greeting(nonce);
        const OwnGreeting another(freshNonce());
        Conversation reflected(keys);
        Hello hello{nonce, {keys[0].id}};
        reflected.send(encodeFrame(FrameType::hello, encodeHello(hello)));
        reflected.expectRefused("a greeting of this node's own");
        EXPECT_TRUE(Conversation(keys).greet(keys)) << "the peer's own";
    }
    EXPECT_TRUE(Conversation(keys).greet(keys, nonce)) << "it is over";
}

TEST(PeerConnection, AnswersAClientThatHoldsTheKey) {
    const std::vector<PeerKey> keys{key('k')};
    Conversation talk(keys);
    const auto session = talk.greet(keys);
    ASSERT_TRUE(session);
    ASSERT_EQ(session->key, &keys[0]);
    talk.send(encodeFrame(FrameType::request, sealBody(*session, FrameType::request, "question")));
    EXPECT_EQ(talk.handled(), std::vector<std::string>{"question"});
    EXPECT_TRUE(talk.handledAuthenticated());
    EXPECT_TRUE(talk.server().authenticated());
    const auto reply = talk.receive();
    ASSERT_TRUE(reply);
    EXPECT_EQ(reply->type, FrameType::reply);
    EXPECT_EQ(openBody(*session, FrameType::reply, reply->body), "answer to question");
    EXPECT_TRUE(talk.server().done());
    EXPECT_EQ(talk.server().refusal(), "");
}

TEST(PeerConnection, AnswersByteByByte) {
    const std::vector<PeerKey> keys{key('k')};
    Conversation talk(keys);
    const Nonce nonce = freshNonce();
    for (const char c : encodeFrame(FrameType::hello, encodeHello({nonce, {keys[0].id}}))) {
        talk.send(std::string(1, c));
    }
    const auto challenge = decodeChallenge(talk.receive()->body);
    ASSERT_TRUE(challenge);
    const Session session{nonce, challenge->nonce, keys.data()};
    for (const char c :
         encodeFrame(FrameType::request, sealBody(session, FrameType::request, "q"))) {
        EXPECT_TRUE(talk.handled().empty());
        talk.send(std::string(1, c));
    }
    EXPECT_EQ(talk.handled(), std::vector<std::string>{"q"});
}

TEST(PeerConnection, TakesTheLargestRequest) {
    const std::vector<PeerKey> keys{key('k')};
    Conversation talk(keys);
    const auto session = talk.greet(keys);
    const std::string payload(frameBodyLimit - authenticatorBytes, 'p');
    const std::string bytes =
        encodeFrame(FrameType::request, sealBody(*session, FrameType::request, payload));
    for (std::size_t at = 0; at < bytes.size(); at += 4000) {
        talk.send(bytes.substr(at, 4000));
    }
    EXPECT_EQ(talk.handled(), std::vector<std::string>{payload});
}

TEST(PeerConnection, WithoutKeysOnEitherSideAnswersUnauthenticated) {
    Conversation talk({});
    const auto session = talk.greet({});
    ASSERT_TRUE(session);
    EXPECT_EQ(session->key, nullptr);
    talk.send(encodeFrame(FrameType::request, "question"));
    EXPECT_EQ(talk.handled(), std::vector<std::string>{"question"});
    EXPECT_FALSE(talk.handledAuthenticated());
    EXPECT_FALSE(talk.server().authenticated());
}

TEST(PeerConnection, WithAKeyOnOneSideOnlyRefuses) {
    Conversation keyed({key('k')});
    EXPECT_FALSE(keyed.greet({}));
    EXPECT_EQ(keyed.server().refusal(), "no key that both nodes hold");
    EXPECT_TRUE(keyed.server().done());
    Conversation keyless({});
    EXPECT_FALSE(keyless.greet({key('k')}));
    EXPECT_EQ(keyless.server().refusal(), "no key that both nodes hold");
}

TEST(PeerConnection, RefusesForgedKeyIds) {
    const PeerKey real = key('k');
    for (std::size_t at = 0; at < keyIdBytes; ++at) {
        PeerKey forged = real;
        forged.id.at(at) ^= 1U;
        Conversation talk({real});
        EXPECT_FALSE(talk.greet({forged}));
        EXPECT_EQ(talk.server().refusal(), "no key that both nodes hold");
    }
    // The name of the key is no secret; it does not help without the key.
    PeerKey stolen = key('x');
    stolen.id = real.id;
    Conversation talk({real});
    const auto session = talk.greet({stolen});
    ASSERT_TRUE(session);
    talk.send(encodeFrame(FrameType::request, sealBody(*session, FrameType::request, "q")));
    talk.expectRefused("a request that does not prove itself");
}

TEST(PeerConnection, RollsAKeyOverWhicheverNodeCommitsFirst) {
    const PeerKey old = key('o');
    const PeerKey next = key('n');
    using Keys = std::vector<PeerKey>;
    // The steps of the two nodes in every order in which each makes its next key known first.
    const std::vector<Keys> stages{{old}, {old, next}, {next}};
    for (std::size_t server = 0; server < stages.size(); ++server) {
        for (std::size_t client = 0; client < stages.size(); ++client) {
            const std::size_t apart = server > client ? server - client : client - server;
            Conversation talk(stages[server]);
            const auto session = talk.greet(stages[client]);
            ASSERT_EQ(session.has_value(), apart < 2) << server << client;
            if (session) {
                ASSERT_NE(session->key, nullptr);
                talk.send(
                    encodeFrame(FrameType::request, sealBody(*session, FrameType::request, "q")));
                EXPECT_TRUE(talk.handledAuthenticated());
            }
        }
    }
}

TEST(PeerConnection, RefusesEveryFlippedBitOfARequest) {
    const std::vector<PeerKey> keys{key('k')};
    const std::size_t size = frameHeaderBytes + authenticatorBytes + 1;
    for (std::size_t at = 0; at < size; ++at) {
        for (unsigned bit = 0; bit < 8; ++bit) {
            Conversation talk(keys);
            const auto session = talk.greet(keys);
            std::string bytes =
                encodeFrame(FrameType::request, sealBody(*session, FrameType::request, "q"));
            bytes[at] = static_cast<char>(static_cast<unsigned char>(bytes[at]) ^ 1U << bit);
            talk.send(bytes);
            EXPECT_TRUE(talk.handled().empty()) << at << "." << bit;
            EXPECT_FALSE(talk.server().authenticated());
        }
    }
}

TEST(PeerConnection, RefusesAReplayedRequest) {
    const std::vector<PeerKey> keys{key('k')};
    const Nonce nonce = freshNonce();
    const std::string hello = encodeFrame(FrameType::hello, encodeHello({nonce, {keys[0].id}}));
    Conversation first(keys);
    first.send(hello);
    const auto challenge = decodeChallenge(first.receive()->body);
    const Session session{nonce, challenge->nonce, keys.data()};
    const std::string request =
        encodeFrame(FrameType::request, sealBody(session, FrameType::request, "restart"));
    first.send(request);
    ASSERT_EQ(first.handled().size(), 1U);

    Conversation replay(keys);
    replay.send(hello);
    const auto fresh = decodeChallenge(replay.receive()->body);
    EXPECT_NE(fresh->nonce, challenge->nonce);
    replay.send(request);
    replay.expectRefused("a request that does not prove itself");
}

// The thread that serves stood still meanwhile, on a disk that hangs, and whoever asked has left.
TEST(PeerConnection, RefusesARequestThatLayThereTooLong) {
    const std::vector<PeerKey> keys{key('k')};
    Conversation talk(keys, SteadyClock::now() - std::chrono::seconds(1));
    const auto session = talk.greet(keys);
    ASSERT_TRUE(session);
    talk.send(encodeFrame(FrameType::request, sealBody(*session, FrameType::request, "restart")));
    talk.expectRefused("a request that came too late");
}

TEST(PeerConnection, AnswersOneRequestOnly) {
    const std::vector<PeerKey> keys{key('k')};
    Conversation talk(keys);
    const auto session = talk.greet(keys);
    const std::string request =
        encodeFrame(FrameType::request, sealBody(*session, FrameType::request, "q"));
    talk.send(request);
    EXPECT_TRUE(talk.server().done());
    EXPECT_EQ(talk.handled().size(), 1U);
}

TEST(PeerConnection, RefusesItsOwnFramesSentBack) {
    const std::vector<PeerKey> keys{key('k')};
    Conversation talk(keys);
    const auto session = talk.greet(keys);
    ASSERT_TRUE(session);
    talk.send(
        encodeFrame(FrameType::challenge, encodeChallenge({session->serverNonce, keys[0].id})));
    talk.expectRefused("a frame out of turn");
    Conversation other(keys);
    const auto second = other.greet(keys);
    other.send(encodeFrame(FrameType::request, sealBody(*second, FrameType::reply, "q")));
    other.expectRefused("a request that does not prove itself");
}

TEST(PeerConnection, RefusesFramesOutOfTurn) {
    for (const FrameType type :
         {FrameType::challenge, FrameType::request, FrameType::reply, FrameType::refusal}) {
        Conversation talk({key('k')});
        talk.send(encodeFrame(type, std::string(40, 'x')));
        talk.expectRefused("a frame out of turn");
    }
    Conversation talk({key('k')});
    talk.greet({key('k')});
    talk.send(encodeFrame(FrameType::hello, std::string(40, 'x')));
    talk.expectRefused("a frame out of turn");
}

TEST(PeerConnection, RefusesWhatIsNoFrameOrNoGreeting) {
    const auto refused = [](const std::string& bytes, const std::string& why) {
        Conversation talk({key('k')});
        talk.send(bytes);
        talk.expectRefused(why);
    };
    refused("GET / HTTP/1.0\r\n\r\n", "not a frame");
    refused(std::string("KH\x02\x01\0\0\0\x20", 8), "unknown frame version");
    refused(std::string("KH\x01\x06\0\0\0\x20", 8), "unknown frame type");
    refused(std::string("KH\x01\x01\0\x01\0\x01", 8), "frame too long");
    refused(encodeFrame(FrameType::hello, ""), "a malformed greeting");
    refused(encodeFrame(FrameType::hello, std::string(31, 'x')), "a malformed greeting");
    refused(encodeFrame(FrameType::hello, std::string(56, 'x')), "a malformed greeting");
    const std::string hello = encodeFrame(FrameType::hello, std::string(40, 'x'));
    refused(hello + hello, "bytes behind the frame");
}

TEST(PeerConnection, EndsWhenItsClientLeaves) {
    std::array<int, 2> ends{};
    ASSERT_EQ(::socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0, ends.data()), 0);
    PeerConnection connection(UniqueFd(ends[1]), {}, SteadyClock::now());
    const PeerRequestHandler never = [](std::string_view, bool) { return std::string(); };
    connection.serve(never);
    EXPECT_FALSE(connection.done()) << "nothing to read is no end";
    EXPECT_EQ(::send(ends[0], "KH", 2, MSG_NOSIGNAL), 2);
    ::close(ends[0]);
    connection.serve(never);
    EXPECT_FALSE(connection.done());
    connection.serve(never);
    EXPECT_TRUE(connection.done());
    EXPECT_EQ(connection.refusal(), "");
}

TEST(PeerConnection, HasOneSecond) {
    std::array<int, 2> ends{};
    ASSERT_EQ(::socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0, ends.data()), 0);
    const UniqueFd client(ends[0]);
    const auto now = SteadyClock::now();
    const PeerConnection connection(UniqueFd(ends[1]), {}, now);
    EXPECT_EQ(connection.endsAt() - now, std::chrono::seconds(1));
}

}  // namespace
}  // namespace KORA::HA::Daemon::support
