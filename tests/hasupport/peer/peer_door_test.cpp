// SPDX-License-Identifier: Apache-2.0
#include "hasupport/peer/peer_door.h"

#include <gtest/gtest.h>

#include <atomic>
#include <deque>
#include <optional>
#include <string>
#include <thread>
#include <vector>

#include "hasupport/peer/peer_client.h"
#include "hasupport/peer/state_message.h"
#include "hasupport/replication_link.h"
#include "hasupport/status/readings.h"
#include "peer_link.h"
#include "running_peer_door.h"
#include "scripted_peer.h"
#include "stream_client.h"
#include "tests/support/in_namespace.h"
#include "tests/support/told.h"

// The peer's port with honest and hostile clients. This node and its peer are one host here: the
// loopback address.

namespace KORA::HA::Daemon::support {
namespace {

using koraha::test::eventually;
using koraha::test::isPeerAnswering;
using koraha::test::onLoopback;
using koraha::test::PeerLink;
using koraha::test::RunningPeerDoor;
using koraha::test::StreamClient;
using koraha::test::timesTold;
using namespace std::chrono_literals;

constexpr const char* stateRequest = R"({"request":"state"})";

PeerAnswer ask(const char* request = stateRequest) {
    return askPeer(request, false, Deadline::in(20s));
}

void fill(Status& status) {
    noteGood(Reading::localMDResync);
    noteGood(Reading::localDiskErrHandling);
    status.localMDResync = true;
    status.localDiskErrHandling = true;
    Json::Value disks(Json::arrayValue);
    disks.append("sdb");
    disks.append(7);
    status.setErrHandlingDisk(disks);
}

std::string hello(const std::vector<KeyId>& keys) {
    return encodeFrame(FrameType::hello, encodeHello({freshNonce(), keys}));
}

TEST(PeerDoor, TellsItsPeerTheState) {
    onLoopback([] {
        const PeerLink link;
        RunningPeerDoor door;
        fill(door.status);
        ASSERT_TRUE(isPeerAnswering());
        std::string problem;
        const PeerAnswer answer = ask();
        const auto state = decodeState(answer.payload.value_or(""), problem);
        ASSERT_TRUE(state) << problem;
        EXPECT_FALSE(answer.authenticated);
        EXPECT_TRUE(state->mdResync);
        EXPECT_EQ(state->mdResyncUnknown, "");
        EXPECT_TRUE(state->diskErrHandling);
        EXPECT_EQ(state->disks, std::vector<std::string>{"sdb"});
        EXPECT_EQ(state->software, KORAHA_VERSION);
        EXPECT_FALSE(state->bootId.empty());
        EXPECT_GT(state->wallSeconds, 0);
    });
}

TEST(PeerDoor, TellsUnknownFromFalse) {
    onLoopback([] {
        const PeerLink link;
        const RunningPeerDoor door;
        noteFailed(Reading::localMDResync, "no md here");
        noteFailed(Reading::localDiskErrHandling, "no disks here");
        ASSERT_TRUE(isPeerAnswering());
        std::string problem;
        const auto state = decodeState(ask().payload.value_or(""), problem);
        ASSERT_TRUE(state) << problem;
        EXPECT_EQ(state->mdResyncUnknown, "no md here");
        EXPECT_EQ(state->diskErrHandlingUnknown, "no disks here");
    });
}

TEST(PeerDoor, AuthenticatesWithAKey) {
    onLoopback([] {
        const PeerLink link;
        link.giveKey('k');
        const RunningPeerDoor door;
        ASSERT_TRUE(isPeerAnswering());
        EXPECT_TRUE(ask().authenticated);
    });
}

TEST(PeerDoor, TakesAKeyThatComesAndGoes) {
    onLoopback([] {
        const PeerLink link;
        const RunningPeerDoor door;
        ASSERT_TRUE(isPeerAnswering());
        link.giveKey('k');
        ASSERT_TRUE(eventually([] { return ask().authenticated; }));
        link.giveKey('n', ".next");
        ASSERT_TRUE(eventually([] { return ask().authenticated; }));
        link.giveKey('n');
        link.takeKey(".next");
        ASSERT_TRUE(eventually([] { return ask().authenticated; }));
        link.takeKey();
        ASSERT_TRUE(eventually([] {
            const PeerAnswer answer = ask();
            return answer.payload && !answer.authenticated;
        }));
    });
}

TEST(PeerDoor, NeverRestartsWithoutAKey) {
    onLoopback([] {
        const PeerLink link;
        const RunningPeerDoor door;
        ASSERT_TRUE(isPeerAnswering());
        EXPECT_EQ(ask(R"({"request":"restart","reason":"x"})").payload,
                  R"({"accepted":false,"reason":"a restart needs the peer key"})");
        EXPECT_EQ(link.countOf("restarts"), 0U);
        EXPECT_EQ(askPeer(stateRequest, true, Deadline::in(20s)).problem,
                  "this node has no peer key");
    });
}

TEST(PeerDoor, AnswersWhatItDoesNotUnderstandWithAnError) {
    onLoopback([] {
        const PeerLink link;
        const RunningPeerDoor door;
        ASSERT_TRUE(isPeerAnswering());
        const std::string deep(30'000, '[');
        for (const std::string& request :
             {std::string(), std::string("{"), std::string("[]"), std::string("7"),
              std::string(R"({"request":["state"]})"), std::string(R"({"request":"reboot"})"),
              std::string("{\"request\":\"state\",\"x\":") + deep + "}", deep,
              std::string(60'000, 'x'), std::string("\0\xff", 2)}) {
            const PeerAnswer answer = askPeer(request, false, Deadline::in(20s));
            EXPECT_EQ(answer.payload, R"({"error":"unknown request"})") << request.substr(0, 80);
        }
        EXPECT_EQ(door.failedSteps(), 0U);
    });
}

TEST(PeerDoor, ServesNobodyWithARefusedKeyFile) {
    onLoopback([] {
        const PeerLink link;
        link.giveKey('k', "", 0640);
        const RunningPeerDoor door;
        ASSERT_TRUE(eventually([&] { return door.steps() > 3; }));
        EXPECT_FALSE(StreamClient().isConnected());
        EXPECT_EQ(timesTold("the peer is not served: " + link.path("peer.key") +
                            " has a mode that lets others at it"),
                  1U);
        link.giveKey('k');
        ASSERT_TRUE(isPeerAnswering());
        EXPECT_EQ(timesTold("the peer is served again"), 1U);
    });
}

// The file goes bad while the door waits for its next client with the good one in mind.
TEST(PeerDoor, ServesNobodyFromTheMomentTheKeyFileIsRefused) {
    onLoopback([] {
        const PeerLink link;
        const RunningPeerDoor door(3s);
        ASSERT_TRUE(isPeerAnswering());
        std::this_thread::sleep_for(300ms);  // until it waits; the test holds if it does not yet
        link.giveKey('k', "", 0644);
        const StreamClient client;
        if (client.isConnected()) {
            client.send(hello({}));
            const auto frame = client.receive();
            EXPECT_FALSE(frame && frame->type == FrameType::challenge);
        }
    });
}

TEST(PeerDoor, RefusesEveryOtherAddress) {
    onLoopback([] {
        const PeerLink link;
        const RunningPeerDoor door;
        ASSERT_TRUE(isPeerAnswering());
        for (const char* address : {"127.0.0.2", "127.1.2.3"}) {
            const StreamClient stranger(StreamClient::From{address, 255});
            ASSERT_TRUE(stranger.isConnected());
            stranger.send(hello({}));
            EXPECT_FALSE(stranger.receive());
        }
        EXPECT_TRUE(ask().payload);
        EXPECT_EQ(timesTold("a connection from an address that is not the peer's"), 1U);
    });
}

TEST(PeerDoor, HearsNoHostBehindARouter) {
    onLoopback([] {
        const PeerLink link;
        const RunningPeerDoor door;
        ASSERT_TRUE(isPeerAnswering());
        EXPECT_FALSE(
            StreamClient(StreamClient::From{"127.0.0.1", 254}, "127.0.0.1", 700ms).isConnected());
        EXPECT_TRUE(StreamClient().isConnected());
    });
}

TEST(PeerDoor, EndsClientsThatTakeLongerThanASecond) {
    onLoopback([] {
        const PeerLink link;
        const RunningPeerDoor door;
        ASSERT_TRUE(isPeerAnswering());
        const StreamClient idle;
        const StreamClient halfway;
        halfway.send(hello({}).substr(0, 20));
        const StreamClient greeted;
        greeted.send(hello({}));
        EXPECT_TRUE(idle.isClosed());
        EXPECT_TRUE(halfway.isClosed());
        EXPECT_TRUE(greeted.isClosed());
        EXPECT_TRUE(eventually([&] { return door.connectionCount() == 0; }));
        EXPECT_TRUE(isPeerAnswering());
    });
}

TEST(PeerDoor, SurvivesGarbage) {
    onLoopback([] {
        const PeerLink link;
        const RunningPeerDoor door;
        ASSERT_TRUE(isPeerAnswering());
        for (int i = 0; i < 50; ++i) {
            const StreamClient client;
            client.send(std::string(static_cast<std::size_t>(i) * 997, static_cast<char>(i)));
        }
        const StreamClient flood;
        flood.send(std::string("KH\x01\x01\0\0\xff\xff", 8) + std::string(2'000'000, 'x'));
        EXPECT_TRUE(flood.isClosed());
        EXPECT_TRUE(isPeerAnswering());
        EXPECT_EQ(door.failedSteps(), 0U);
    });
}

TEST(PeerDoor, AnswersItsPeerThoughEveryPlaceIsTaken) {
    onLoopback([] {
        const PeerLink link;
        const RunningPeerDoor door;
        ASSERT_TRUE(isPeerAnswering());
        for (int i = 0; i < 10; ++i) {
            const std::vector<StreamClient> idle(20);
            EXPECT_TRUE(ask().payload) << i;
            EXPECT_LE(door.connectionCount(), 8U);
        }
    });
}

/// Opens connections as fast as it can and keeps the last 100 of them open.
class Flood {
  public:
    explicit Flood(const char* address) : address_(address), thread_([this] { run(); }) {}
    ~Flood() {
        stop_ = true;
        thread_.join();
    }
    Flood(const Flood&) = delete;
    Flood& operator=(const Flood&) = delete;
    unsigned opened() const { return opened_; }

  private:
    void run() {
        std::deque<StreamClient> open;
        while (!stop_) {
            open.emplace_back(StreamClient::From{address_, 255}, "127.0.0.1", 1ms);
            opened_ += open.back().isConnected() ? 1 : 0;
            if (open.size() > 100) {
                open.pop_front();
            }
        }
    }

    std::string address_;
    std::atomic<bool> stop_{false};
    std::atomic<unsigned> opened_{0};
    std::thread thread_;
};

void expectAnsweredDuringFlood(const char* address, bool withKey) {
    onLoopback([&] {
        const PeerLink link;
        if (withKey) {
            link.giveKey('k');
        }
        const RunningPeerDoor door;
        ASSERT_TRUE(isPeerAnswering());
        const Flood flood(address);
        ASSERT_TRUE(eventually([&] { return flood.opened() > 100; }));
        int answered = 0;
        for (int i = 0; i < 20; ++i) {
            const PeerAnswer answer = ask();
            answered += answer.payload ? 1 : 0;
            EXPECT_LE(door.connectionCount(), 8U);
        }
        EXPECT_GE(answered, 18) << "after " << flood.opened() << " connections of the flood";
        EXPECT_EQ(door.failedSteps(), 0U);
        EXPECT_LE(koraha::test::told().size(), 10U);
    });
}

TEST(PeerDoor, AnswersItsPeerDuringAFloodFromElsewhere) {
    expectAnsweredDuringFlood("127.0.0.9", false);
}
TEST(PeerDoor, AnswersItsPeerDuringAFloodFromThePeersOwnAddress) {
    expectAnsweredDuringFlood("127.0.0.1", false);
}
TEST(PeerDoor, AnswersItsPeerDuringAFloodWithAKey) {
    expectAnsweredDuringFlood("127.0.0.1", true);
}

TEST(PeerDoor, TellsRefusalsAtABoundedRate) {
    onLoopback([] {
        const PeerLink link;
        link.giveKey('k');
        const RunningPeerDoor door;
        ASSERT_TRUE(isPeerAnswering());
        const auto start = SteadyClock::now();
        for (int i = 0; i < 300; ++i) {
            const StreamClient client;
            client.send(hello({KeyId{static_cast<std::uint8_t>(i)}}));
            const auto frame = client.receive();
            ASSERT_TRUE(frame);
            EXPECT_EQ(frame->type, FrameType::refusal);
        }
        const auto tens = (SteadyClock::now() - start) / 10s;
        EXPECT_GE(timesTold("refused on the peer's port: no key that both nodes hold"), 1U);
        EXPECT_LE(timesTold("refused on the peer's port"), 2U + static_cast<unsigned>(tens));
    });
}

TEST(PeerDoor, WaitsForItsInterface) {
    onLoopback([] {
        const PeerLink link;
        drbdIF("link0");
        const RunningPeerDoor door;
        ASSERT_TRUE(eventually([&] { return door.steps() > 3; }));
        EXPECT_FALSE(StreamClient().isConnected());
        EXPECT_EQ(timesTold("the peer is not served: there is no interface link0"), 1U);
        drbdIF("lo");
        EXPECT_TRUE(isPeerAnswering());
        EXPECT_EQ(timesTold("the peer is served again"), 1U);
    });
}

TEST(PeerDoor, OpensAgainOnAnInterfaceMadeAnew) {
    onLoopback([] {
        const PeerLink link;
        koraha::test::command("ip link add link0 type veth peer name link1");
        drbdIF("link0");
        const RunningPeerDoor door;
        ASSERT_TRUE(isPeerAnswering());
        for (int i = 0; i < 3; ++i) {
            koraha::test::command("ip link del link0");
            ASSERT_TRUE(eventually([] { return !ask().payload; }));
            koraha::test::command("ip link add link0 type veth peer name link1");
            ASSERT_TRUE(isPeerAnswering());
        }
        EXPECT_EQ(timesTold("there is no interface link0"), 3U);
        EXPECT_EQ(timesTold("the peer is served again"), 3U);
    });
}

TEST(PeerDoor, WaitsForItsPort) {
    onLoopback([] {
        const PeerLink link;
        std::optional<koraha::test::ScriptedPeer> other(std::in_place,
                                                        [](koraha::test::PeerSide&) {});
        const RunningPeerDoor door;
        ASSERT_TRUE(eventually([&] { return door.steps() > 3; }));
        EXPECT_EQ(timesTold("the peer is not served: Address already in use"), 1U);
        other.reset();
        EXPECT_TRUE(isPeerAnswering());
        EXPECT_EQ(timesTold("the peer is served again"), 1U);
    });
}

TEST(PeerDoor, ListensBeforeItsAddressIsThere) {
    onLoopback([] {
        const PeerLink link("192.0.2.1", "192.0.2.1");
        koraha::test::forgetTold();  // of earlier tests in this process
        const RunningPeerDoor door;
        ASSERT_TRUE(eventually([&] { return door.steps() > 3; }));
        EXPECT_EQ(koraha::test::told(), std::vector<std::string>{});
        koraha::test::command("ip addr add 192.0.2.1/32 dev lo");
        EXPECT_TRUE(isPeerAnswering());
    });
}

TEST(PeerDoor, ServesAnAddressOfVersionSixToo) {
    onLoopback([] {
        const PeerLink link("::1", "::1");
        const RunningPeerDoor door;
        EXPECT_TRUE(isPeerAnswering());
    });
}

}  // namespace
}  // namespace KORA::HA::Daemon::support
