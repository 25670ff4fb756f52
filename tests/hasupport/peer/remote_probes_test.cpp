// SPDX-License-Identifier: Apache-2.0
#include "hasupport/remote_probes.h"

#include <gtest/gtest.h>
#include <malloc.h>

#include <chrono>
#include <set>
#include <string>

#include "hasupport/peer/known_disks.h"
#include "hasupport/peer/state_message.h"
#include "hasupport/replication_link.h"
#include "hasupport/status.h"
#include "hasupport/status/readings.h"
#include "peer_link.h"
#include "scripted_peer.h"
#include "tests/support/told.h"

// The two probes that ask the peer's service, against a peer that answers as it likes.

namespace KORA::HA::Daemon::support {
namespace {

using koraha::test::onLoopback;
using koraha::test::PeerLink;
using koraha::test::PeerSide;
using koraha::test::ScriptedPeer;
using namespace std::chrono_literals;

constexpr const char* tooLate = "no answer in time";

// A probe takes 1 s by default; the rest is for a busy machine.
constexpr auto generous = 10s;

PeerState troubled() {
    PeerState state;
    state.mdResync = true;
    state.diskErrHandling = true;
    state.disks = {"sdb", "sda", "sdb"};
    return state;
}

struct Answer {
    bool resync = false;
    bool handling = false;
    Json::Value disks;
};

/// Asks with both probes, one connection each, and checks that they took no longer than they may.
Answer askBoth() {
    Answer answer;
    const auto start = std::chrono::steady_clock::now();
    answer.resync = IsRemoteMDResync()();
    EXPECT_LT(std::chrono::steady_clock::now() - start, generous);
    answer.handling = IsRemoteDiskErrHandling()(answer.disks);
    return answer;
}

void expectSilent(const Answer& answer) {
    EXPECT_FALSE(answer.resync);
    EXPECT_FALSE(answer.handling);
    EXPECT_EQ(answer.disks, Json::Value(Json::arrayValue));
    EXPECT_FALSE(readingState(Reading::remoteMDResync).valid);
    EXPECT_FALSE(readingState(Reading::remoteDiskErrHandling).valid);
}

/// Both probes answer negatively because of `reason`, which the readings show.
void expectUnknown(const std::string& reason) {
    expectSilent(askBoth());
    EXPECT_EQ(readingState(Reading::remoteMDResync).reason, reason);
    EXPECT_EQ(readingState(Reading::remoteDiskErrHandling).reason, reason);
}

void againstPeer(const ScriptedPeer::Script& script, const std::string& reason) {
    onLoopback([&] {
        PeerLink link;
        link.settings.peerTimeoutMs =
            reason == tooLate ? SupportSettings().peerTimeoutMs : link.settings.peerTimeoutMs;
        const ScriptedPeer peer(script);
        expectUnknown(reason);
        EXPECT_EQ(peer.connections(), 1U) << "the second probe uses the first one's exchange";
        EXPECT_EQ(koraha::test::timesTold("the peer does not tell its state: " + reason), 1U);
    });
}

void againstKeyedPeer(const ScriptedPeer::Script& script, const std::string& reason) {
    onLoopback([&] {
        const PeerLink link;
        link.giveKey('k');
        const ScriptedPeer peer(script);
        expectUnknown(reason);
    });
}

const PeerKey sharedKey = makePeerKey(std::string(peerKeyBytes, 'k'));

TEST(RemoteProbes, TellWhatThePeerTells) {
    onLoopback([] {
        const PeerLink link;
        const ScriptedPeer peer([](PeerSide& side) { side.answer(encodeState(troubled())); });
        const Answer answer = askBoth();
        EXPECT_TRUE(answer.resync);
        EXPECT_TRUE(answer.handling);
        ASSERT_EQ(answer.disks.size(), 3U);
        EXPECT_EQ(answer.disks[0].asString(), "sdb");
        EXPECT_EQ(answer.disks[1].asString(), "sda");
        EXPECT_EQ(answer.disks[2].asString(), "sdb");
        EXPECT_TRUE(readingState(Reading::remoteMDResync).valid);
        EXPECT_TRUE(readingState(Reading::remoteDiskErrHandling).valid);
        EXPECT_EQ(peer.connections(), 1U);
    });
}

TEST(RemoteProbes, TellWhatThePeerProves) {
    onLoopback([] {
        const PeerLink link;
        link.giveKey('k');
        const ScriptedPeer peer(
            [](PeerSide& side) { side.answer(encodeState(troubled()), &sharedKey); });
        EXPECT_TRUE(askBoth().resync);
    });
}

TEST(RemoteProbes, UseAnOutcomeOnceAndOnlyWhileFresh) {
    onLoopback([] {
        const PeerLink link;
        const ScriptedPeer peer([](PeerSide& side) { side.answer(encodeState(troubled())); });
        Json::Value disks;
        EXPECT_TRUE(IsRemoteMDResync()());
        EXPECT_TRUE(IsRemoteDiskErrHandling()(disks));
        EXPECT_EQ(peer.connections(), 1U);
        EXPECT_TRUE(IsRemoteDiskErrHandling()(disks));
        EXPECT_EQ(peer.connections(), 2U);
        EXPECT_EQ(disks.size(), 3U) << "the list is replaced, not appended to";

        EXPECT_TRUE(IsRemoteMDResync()());
        std::this_thread::sleep_for(2100ms);
        EXPECT_TRUE(IsRemoteDiskErrHandling()(disks));
        EXPECT_EQ(peer.connections(), 4U);
    });
}

TEST(RemoteProbes, TellUnknownFromFalse) {
    PeerState blind = troubled();
    blind.mdResyncUnknown = "no /proc/mdstat";
    blind.diskErrHandlingUnknown = "no /sys";
    onLoopback([&] {
        const PeerLink link;
        const ScriptedPeer peer([&](PeerSide& side) { side.answer(encodeState(blind)); });
        expectSilent(askBoth());
        EXPECT_EQ(readingState(Reading::remoteMDResync).reason,
                  "unknown to the peer: no /proc/mdstat");
        EXPECT_EQ(readingState(Reading::remoteDiskErrHandling).reason,
                  "unknown to the peer: no /sys");
    });
}

TEST(RemoteProbes, RecoverWithThePeer) {
    onLoopback([] {
        const PeerLink link;
        bool good = false;  // written only while nobody is asked
        const ScriptedPeer peer([&](PeerSide& side) {
            side.answer(good ? encodeState(troubled()) : std::string("{}"));
        });
        expectSilent(askBoth());
        good = true;
        EXPECT_TRUE(askBoth().handling);
        EXPECT_TRUE(readingState(Reading::remoteMDResync).valid);
        EXPECT_EQ(readingState(Reading::remoteMDResync).reason, "");
        EXPECT_EQ(koraha::test::timesTold("the peer tells its state again"), 1U);
    });
}

TEST(RemoteProbes, AnswerNegativelyWithoutUsableAddresses) {
    onLoopback([] {
        const PeerLink link;
        localIP("not an address");
        expectUnknown(R"("not an address" and "127.0.0.1" are not two addresses of one family)");
        localIP("::1");
        expectUnknown(R"("::1" and "127.0.0.1" are not two addresses of one family)");
        localIP("192.0.2.7");
        expectUnknown("the peer cannot be reached: Cannot assign requested address");
        drbdIF("no interface/name");
        expectUnknown("\"no interface/name\" is no interface name");
    });
}

TEST(RemoteProbes, AnswerNegativelyWhenNobodyListens) {
    onLoopback([] {
        const PeerLink link;
        expectUnknown("Connection refused");
    });
}

TEST(RemoteProbes, AnswerNegativelyToSilence) {
    againstPeer([](PeerSide& side) { side.holdOn(); }, tooLate);
}

TEST(RemoteProbes, AnswerNegativelyToSilenceInTheMiddle) {
    againstPeer(
        [](PeerSide& side) {
            side.challenge(nullptr);
            side.holdOn();
        },
        tooLate);
}

TEST(RemoteProbes, AnswerNegativelyToHalfAMessage) {
    againstPeer(
        [](PeerSide& side) {
            side.receive();
            side.send(encodeFrame(FrameType::challenge, std::string(32, 'n')).substr(0, 20));
            side.holdOn();
        },
        tooLate);
}

TEST(RemoteProbes, AnswerNegativelyToAPeerThatHangsUpInTheMiddle) {
    againstPeer(
        [](PeerSide& side) {
            side.receive();
            side.send(encodeFrame(FrameType::challenge, std::string(32, 'n')).substr(0, 20));
        },
        "the peer hung up");
}

TEST(RemoteProbes, AnswerNegativelyToASlowDrip) {
    againstPeer(
        [](PeerSide& side) {
            side.receive();
            side.drip(encodeFrame(FrameType::challenge, std::string(32, 'n')), 50ms);
        },
        tooLate);
}

TEST(RemoteProbes, AnswerNegativelyToGarbage) {
    againstPeer(
        [](PeerSide& side) {
            side.send("220 mail.example ESMTP\r\n");
            side.holdOn();
        },
        "the peer sent what is no answer: not a frame");
}

TEST(RemoteProbes, AnswerNegativelyToTooMuch) {
    againstPeer(
        [](PeerSide& side) {
            side.receive();
            side.send(encodeFrame(FrameType::challenge, std::string(32, 'n')) + "more");
            side.holdOn();
        },
        "the peer sent what is no answer: bytes behind the frame");
}

TEST(RemoteProbes, AnswerNegativelyToAFrameThatIsTooLong) {
    againstPeer(
        [](PeerSide& side) {
            side.receive();
            std::string flood(std::size_t{1} << 20U, 'x');
            flood.replace(0, 8, std::string("KH\x01\x02\xff\xff\xff\xff", 8));
            side.send(flood);
        },
        "the peer sent what is no answer: frame too long");
}

TEST(RemoteProbes, AnswerNegativelyToAnotherVersion) {
    againstPeer(
        [](PeerSide& side) {
            side.receive();
            std::string frame = encodeFrame(FrameType::challenge, std::string(32, 'n'));
            frame[2] = 2;
            side.send(frame);
            side.holdOn();
        },
        "the peer sent what is no answer: unknown frame version");
}

TEST(RemoteProbes, AnswerNegativelyToAnAnswerOutOfTurn) {
    againstPeer(
        [](PeerSide& side) {
            side.receive();
            side.send(encodeFrame(FrameType::reply, encodeState(troubled())));
            side.holdOn();
        },
        "the peer answered out of turn");
}

TEST(RemoteProbes, AnswerNegativelyToAMalformedChallenge) {
    againstPeer(
        [](PeerSide& side) {
            side.receive();
            side.send(encodeFrame(FrameType::challenge, std::string(33, 'n')));
            side.holdOn();
        },
        "the peer's challenge is malformed");
}

TEST(RemoteProbes, ShowARefusalBoundedAndPrintable) {
    againstPeer(
        [](PeerSide& side) {
            side.receive();
            side.send(encodeFrame(FrameType::refusal, "no\n\x1b[2J" + std::string(60'000, 'x')));
            side.holdOn();
        },
        "the peer refused: no??[2J" + std::string(73, 'x'));
}

TEST(RemoteProbes, OfAPeerWithEverNewWordsTellAtABoundedRate) {
    onLoopback([] {
        const PeerLink link;
        int number = 0;
        const ScriptedPeer peer([&](PeerSide& side) {
            side.receive();
            side.send(encodeFrame(FrameType::refusal, "no, " + std::to_string(++number)));
        });
        const auto start = std::chrono::steady_clock::now();
        for (int i = 0; i < 200; ++i) {
            EXPECT_FALSE(IsRemoteMDResync()());
        }
        const auto tens = (std::chrono::steady_clock::now() - start) / 10s;
        EXPECT_EQ(readingState(Reading::remoteMDResync).reason, "the peer refused: no, 200");
        EXPECT_GE(koraha::test::timesTold("the peer does not tell its state"), 1U);
        EXPECT_LE(koraha::test::timesTold("the peer"), 6U + static_cast<unsigned>(tens));
    });
}

TEST(RemoteProbes, AnswerNegativelyToWhatIsNoState) {
    const auto answers = [](const std::string& payload) {
        return [payload](PeerSide& side) { side.answer(payload); };
    };
    againstPeer(answers(""), "the peer's answer is no JSON");
    againstPeer(answers("certainly"), "the peer's answer is no JSON");
    againstPeer(answers("{}"), "the peer's answer lacks what it must hold");
    againstPeer(answers(R"({"mdResync":1,"diskErrHandling":1})"),
                "the peer's answer lacks what it must hold");
    againstPeer(answers(std::string(frameBodyLimit, '[')), "the peer's answer is nested too deep");
}

TEST(RemoteProbes, WithAKeyTakeNothingFromAPeerWithoutIt) {
    againstKeyedPeer([](PeerSide& side) { side.answer(encodeState(troubled())); },
                     "the peer does not hold this node's key");
    static const PeerKey other = makePeerKey(std::string(peerKeyBytes, 'o'));
    againstKeyedPeer([](PeerSide& side) { side.answer(encodeState(troubled()), &other); },
                     "the peer does not hold this node's key");
}

TEST(RemoteProbes, WithoutAKeyTakeNothingFromAPeerThatNamesOne) {
    againstPeer([](PeerSide& side) { side.answer(encodeState(troubled()), &sharedKey); },
                "the peer does not hold this node's key");
}

TEST(RemoteProbes, TakeNoAnswerThatDoesNotProveItself) {
    const auto replies = [](const std::function<std::string(const Session&, const Frame&)>& body) {
        return [body](PeerSide& side) {
            const auto session = side.challenge(&sharedKey);
            const auto request = side.receive();
            if (session && request) {
                side.send(encodeFrame(FrameType::reply, body(*session, *request)));
            }
        };
    };
    const std::string state = encodeState(troubled());
    const std::string unproved = "the peer's answer does not prove itself";
    againstKeyedPeer(replies([&](const Session&, const Frame&) { return state; }), unproved);
    againstKeyedPeer(replies([](const Session&, const Frame& request) { return request.body; }),
                     unproved);
    againstKeyedPeer(replies([&](const Session& session, const Frame&) {
                         Session old = session;
                         old.clientNonce = freshNonce();
                         return sealBody(old, FrameType::reply, state);
                     }),
                     unproved);
    againstKeyedPeer(replies([&](const Session& session, const Frame&) {
                         std::string sealed = sealBody(session, FrameType::reply, state);
                         sealed.back() ^= 1;
                         return sealed;
                     }),
                     unproved);
    againstKeyedPeer(replies([&](const Session& session, const Frame&) {
                         const PeerKey other = makePeerKey(std::string(peerKeyBytes, 'o'));
                         const Session wrong{session.clientNonce, session.serverNonce, &other};
                         return sealBody(wrong, FrameType::reply, state);
                     }),
                     unproved);
}

TEST(RemoteProbes, WithARefusedKeyFileAskNobody) {
    onLoopback([] {
        const PeerLink link;
        link.giveKey('k', "", 0644);
        const ScriptedPeer peer([](PeerSide& side) { side.answer(encodeState(troubled())); });
        expectUnknown(link.path("peer.key") + " has a mode that lets others at it");
        EXPECT_EQ(peer.connections(), 0U);
    });
}

TEST(RemoteProbes, OfAPeerWithEverNewDisksStayBounded) {
    onLoopback([] {
        const PeerLink link;
        unsigned number = 0;
        const ScriptedPeer peer([&](PeerSide& side) {
            PeerState state = troubled();
            state.disks.clear();
            for (int i = 0; i < 100; ++i) {
                state.disks.push_back("disk" + std::to_string(++number));
            }
            side.answer(encodeState(state));
        });
        std::set<std::string> seen;
        for (int pass = 0; pass < 30; ++pass) {
            for (const Json::Value& disk : askBoth().disks) {
                seen.insert(disk.asString());
            }
        }
        EXPECT_EQ(seen.size(), 1024U);
        EXPECT_EQ(koraha::test::timesTold("named more than 1024 disks"), 1U);
    });
}

TEST(KnownDisks, StayBoundedOverTenThousandPasses) {
    onLoopback([] {
        Status status;
        std::set<std::string> kept;
        std::size_t before = 0;
        for (unsigned pass = 0; pass < 10'000; ++pass) {
            Json::Value disks(Json::arrayValue);
            std::vector<std::string> names;
            for (int i = 0; i < 10; ++i) {
                names.push_back(std::string(50, 'x') + std::to_string(pass * 10 + unsigned(i)));
            }
            for (const std::string& name : onlyKnownDisks(names)) {
                kept.insert(name);
                disks.append(name);
            }
            status.setErrHandlingDiskRemote(disks);
            if (pass == 1000) {
                before = ::mallinfo2().uordblks;
            }
        }
        EXPECT_EQ(kept.size(), 1024U);
        EXPECT_EQ(status.getErrHandlingDisksSeen().size(), 1024U);
        EXPECT_LT(::mallinfo2().uordblks, before + 100'000);
        EXPECT_EQ(onlyKnownDisks({*kept.begin(), "new"}), std::vector<std::string>{*kept.begin()});
    });
}

}  // namespace
}  // namespace KORA::HA::Daemon::support
