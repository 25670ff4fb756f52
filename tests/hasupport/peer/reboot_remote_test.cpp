// SPDX-License-Identifier: Apache-2.0
#include "hasupport/reboot_remote.h"

#include <gtest/gtest.h>
#include <json/value.h>
#include <unistd.h>

#include <atomic>
#include <chrono>
#include <string>

#include "hasupport/peer/restart_record.h"
#include "hasupport/peer/restart_stamp.h"
#include "hasupport/status.h"
#include "peer_link.h"
#include "peer_node.h"
#include "scripted_peer.h"
#include "tests/support/told.h"

// This node asks its peer, a process of its own or a scripted one, to restart. Nothing here can
// restart anything: every restart is a line in a file.

namespace KORA::HA::Daemon::support {
namespace {

using koraha::test::eventually;
using koraha::test::onLoopback;
using koraha::test::PeerLink;
using koraha::test::PeerNode;
using koraha::test::PeerSide;
using koraha::test::ScriptedPeer;

constexpr const char* here = "127.0.0.1";
constexpr const char* there = "127.0.0.2";
constexpr const char* obeyedLately =
    "this node restarted at the peer's request less than 10 minutes ago";

const PeerKey sharedKey = makePeerKey(std::string(peerKeyBytes, 'k'));

void withKey(PeerLink& link) {
    link.giveKey('k');
}

bool restartPeer() {
    Status status;
    Json::Value disks(Json::arrayValue);
    disks.append("sdb");
    disks.append("sdc");
    status.setErrHandlingDiskRemote(disks);
    return RebootRemote()(status);
}

std::string outcome() {
    const auto record = lastRestart();
    return record ? record->outcome : "no restart";
}

/// The body as this node, if it can have files of root's.
void asThisNode(const char* remote, const std::function<void(PeerLink&)>& body) {
    if (::geteuid() != 0) {
        GTEST_SKIP() << "only root can make keys and stamps that are trusted";
    }
    onLoopback([&] {
        PeerLink link(here, remote);
        body(link);
    });
}

TEST(RebootRemote, RestartsAPeerThatHoldsTheKey) {
    asThisNode(there, [](PeerLink& link) {
        const PeerNode peer(there, here, withKey);
        link.giveKey('k');
        ASSERT_TRUE(eventually([] {
            removeStamp(askedStampPath());  // a busy machine may miss the peer's one second
            return restartPeer();
        }));
        EXPECT_EQ(outcome(), "accepted");
        EXPECT_EQ(peer.restarts(), 1U);
        const std::string why = "too many errors on one disk; under error handling: sdb sdc";
        EXPECT_EQ(lastRestart()->reason, why);
        EXPECT_TRUE(restartAskedWithin(std::chrono::minutes(15)));
        EXPECT_NE(peer.read("restart.obeyed").find("reason=" + why + "\n"), std::string::npos);
        EXPECT_EQ(koraha::test::timesTold("restart of the peer: accepted"), 1U);
    });
}

// A request that is longer than the peer reads would be no request to it.
TEST(RebootRemote, RestartsAPeerWithManyDisksUnderErrorHandling) {
    asThisNode(there, [](PeerLink& link) {
        const PeerNode peer(there, here, withKey);
        link.giveKey('k');
        Status status;
        Json::Value disks(Json::arrayValue);
        for (int i = 0; i < 256; ++i) {
            disks.append(std::string(64, 'd'));
        }
        status.setErrHandlingDiskRemote(disks);
        ASSERT_TRUE(eventually([&] {
            removeStamp(askedStampPath());
            return RebootRemote()(status);
        })) << outcome();
        EXPECT_EQ(peer.restarts(), 1U);
        EXPECT_LE(lastRestart()->reason.size(), 400U);
    });
}

TEST(RebootRemote, DoesNotRestartItTwice) {
    asThisNode(there, [](PeerLink& link) {
        const PeerNode peer(there, here, withKey);
        link.giveKey('k');
        ASSERT_TRUE(eventually([] { return restartPeer(); }));
        EXPECT_TRUE(eventually([] {
            EXPECT_FALSE(restartPeer());
            return outcome() == std::string("refused: ") + obeyedLately;
        }));
        EXPECT_EQ(peer.restarts(), 1U);
    });
}

TEST(RebootRemote, AsksNobodyWithoutAKey) {
    asThisNode(here, [](PeerLink&) {
        const ScriptedPeer peer([](PeerSide& side) { side.answer(R"({"accepted":true})"); });
        EXPECT_FALSE(restartPeer());
        EXPECT_EQ(outcome(), "this node has no peer key");
        EXPECT_EQ(peer.connections(), 0U);
    });
}

TEST(RebootRemote, IsRefusedByAPeerWithoutTheKey) {
    asThisNode(there, [](PeerLink& link) {
        const PeerNode keyless(there, here, [](PeerLink&) {});
        link.giveKey('k');
        EXPECT_TRUE(eventually([] {
            EXPECT_FALSE(restartPeer());
            return outcome() == "the peer refused: no key that both nodes hold";
        }));
        EXPECT_EQ(keyless.restarts(), 0U);
    });
}

TEST(RebootRemote, IsNotObeyedByAPeerWhoseKeyItDoesNotHold) {
    asThisNode(there, [](PeerLink& link) {
        const PeerNode other(there, here, [](PeerLink& node) { node.giveKey('o'); });
        link.giveKey('k');
        EXPECT_TRUE(eventually([] {
            EXPECT_FALSE(restartPeer());
            return outcome() == "the peer refused: no key that both nodes hold";
        }));
        EXPECT_EQ(other.restarts(), 0U);
    });
}

TEST(RebootRemote, HasItsReasonOnDiskBeforeThePeerIsAsked) {
    asThisNode(here, [](PeerLink& link) {
        link.giveKey('k');
        std::string before;  // written before the peer's answer, read after it
        const ScriptedPeer peer([&](PeerSide& side) {
            const auto session = side.challenge(&sharedKey);
            before = link.scratch().read("restart.asked");
            side.receive();
            side.send(encodeFrame(FrameType::reply,
                                  sealBody(*session, FrameType::reply, R"({"accepted":true})")));
        });
        EXPECT_TRUE(restartPeer());
        EXPECT_NE(before.find("outcome=requested\n"), std::string::npos);
        EXPECT_NE(before.find("under error handling: sdb sdc\n"), std::string::npos);
        EXPECT_EQ(outcome(), "accepted");
    });
}

TEST(RebootRemote, AsksNobodyWhenTheStampCannotBeWritten) {
    asThisNode(here, [](PeerLink& link) {
        link.giveKey('k');
        link.settings.stampDirectory = link.path("no/such/directory");
        link.settings.restart = RestartMethod::requestThenCommand;
        link.settings.restartCommand = {link.writeCounter("command")};
        const ScriptedPeer peer([](PeerSide& side) { side.answer("{}", &sharedKey); });
        EXPECT_FALSE(restartPeer());
        EXPECT_EQ(peer.connections(), 0U);
        EXPECT_EQ(link.countOf("command"), 0U);
        EXPECT_EQ(koraha::test::timesTold("the stamp of the restart cannot be written"), 1U);
    });
}

TEST(RebootRemote, BelievesOnlyAClearAnswer) {
    asThisNode(here, [](PeerLink& link) {
        link.giveKey('k');
        std::string payload;  // written only while nobody is asked
        const ScriptedPeer peer([&](PeerSide& side) { side.answer(payload, &sharedKey); });
        for (const std::string& text :
             {std::string(), std::string("accepted"), std::string("{}"), std::string("[]"),
              std::string(R"({"accepted":"true"})"), std::string(R"({"accepted":1})"),
              std::string(R"([{"accepted":true}])"), std::string(60'000, '['),
              R"({"accepted":true,"x":")" + std::string(5'000, 'x') + "\"}"}) {
            payload = text;
            EXPECT_FALSE(restartPeer());
            EXPECT_EQ(outcome(), "the peer's answer is malformed") << text.substr(0, 80);
        }
        payload = R"({"accepted":false,"reason":"no\n\u001b[2J)" + std::string(3'000, 'x') + "\"}";
        EXPECT_FALSE(restartPeer());
        EXPECT_TRUE(outcome().starts_with("refused: no  [2Jxxx")) << outcome();
        EXPECT_EQ(outcome().size(), 500U);
        payload = R"({"accepted":false,"reason":[]})";
        EXPECT_FALSE(restartPeer());
        EXPECT_EQ(outcome(), "refused: ");
    });
}

class RestartCommand {
  public:
    RestartCommand(PeerLink& link, RestartMethod method, int status = 0) : link_(link) {
        link.settings.restart = method;
        link.settings.restartCommand = {link.writeCounter("command", status), "peer", "now"};
    }
    std::size_t runs() const { return link_.countOf("command"); }

  private:
    PeerLink& link_;
};

TEST(RebootRemote, ByCommandAsksNobody) {
    asThisNode(here, [](PeerLink& link) {
        link.giveKey('k');
        const RestartCommand command(link, RestartMethod::command);
        const ScriptedPeer peer([](PeerSide& side) { side.answer("{}", &sharedKey); });
        EXPECT_TRUE(restartPeer());
        EXPECT_EQ(outcome(), "accepted");
        EXPECT_EQ(link.scratch().read("command"), "peer now\n");
        EXPECT_EQ(peer.connections(), 0U);
    });
}

TEST(RebootRemote, ByACommandThatFailsSaysSo) {
    asThisNode(here, [](PeerLink& link) {
        const RestartCommand command(link, RestartMethod::command, 3);
        EXPECT_FALSE(restartPeer());
        EXPECT_EQ(outcome(), "the restart command ended with 3");
        link.settings.restartCommand = {link.path("no such command")};
        EXPECT_FALSE(restartPeer());
        EXPECT_EQ(outcome(), "the restart command ended with -1");
    });
}

TEST(RebootRemote, ByACommandThatHangsIsBounded) {
    asThisNode(here, [](PeerLink& link) {
        link.settings.restart = RestartMethod::command;
        link.settings.restartCommandMs = 300;
        link.settings.restartCommand = {"/bin/sleep", "600"};
        const auto start = std::chrono::steady_clock::now();
        EXPECT_FALSE(restartPeer());
        EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(60));
        EXPECT_EQ(outcome(), "the restart command ended with -1");
    });
}

TEST(RebootRemote, ForcesAPeerThatDoesNotAnswer) {
    asThisNode(here, [](PeerLink& link) {
        link.giveKey('k');
        link.settings.peerTimeoutMs = 300;
        const RestartCommand command(link, RestartMethod::requestThenCommand);
        {
            const ScriptedPeer silent([](PeerSide& side) { side.holdOn(); });
            EXPECT_TRUE(restartPeer());
        }
        EXPECT_EQ(outcome(), "accepted");
        EXPECT_EQ(command.runs(), 1U);
        EXPECT_TRUE(restartPeer()) << "nobody listens at all";
        EXPECT_EQ(command.runs(), 2U);
    });
}

TEST(RebootRemote, ForcesAPeerThatWouldButCannot) {
    asThisNode(here, [](PeerLink& link) {
        link.giveKey('k');
        const RestartCommand command(link, RestartMethod::requestThenCommand);
        const ScriptedPeer peer([](PeerSide& side) {
            side.answer(R"({"accepted":false,"reason":"no disk","unable":true})", &sharedKey);
        });
        EXPECT_TRUE(restartPeer());
        EXPECT_EQ(command.runs(), 1U);
        EXPECT_EQ(koraha::test::timesTold("(refused: no disk): running the command"), 1U);
    });
}

TEST(RebootRemote, DoesNotForceAPeerThatRefuses) {
    asThisNode(here, [](PeerLink& link) {
        link.giveKey('k');
        const RestartCommand command(link, RestartMethod::requestThenCommand);
        const ScriptedPeer peer([](PeerSide& side) {
            side.answer(R"({"accepted":false,"reason":"not now"})", &sharedKey);
        });
        EXPECT_FALSE(restartPeer());
        EXPECT_EQ(outcome(), "refused: not now");
        EXPECT_EQ(command.runs(), 0U);
    });
}

TEST(RebootRemote, DoesNotForceAPeerThatAccepted) {
    asThisNode(here, [](PeerLink& link) {
        link.giveKey('k');
        const RestartCommand command(link, RestartMethod::requestThenCommand);
        const ScriptedPeer peer(
            [](PeerSide& side) { side.answer(R"({"accepted":true})", &sharedKey); });
        EXPECT_TRUE(restartPeer());
        EXPECT_EQ(command.runs(), 0U);
    });
}

TEST(RebootRemote, IsNotAskedForByANodeOnItsWayDown) {
    asThisNode(here, [](PeerLink& link) {
        link.giveKey('k');
        ASSERT_TRUE(writeStamp(obeyedStampPath(), RestartStamp::now("", "obeyed")));
        for (const RestartMethod method :
             {RestartMethod::request, RestartMethod::command, RestartMethod::requestThenCommand}) {
            const RestartCommand command(link, method);
            EXPECT_FALSE(restartPeer());
            EXPECT_EQ(command.runs(), 0U);
            EXPECT_EQ(outcome(), "no restart");
        }
    });
}

TEST(RebootRemote, SurvivesADiskListThatIsNone) {
    asThisNode(here, [](PeerLink&) {
        for (const Json::Value& list : {Json::Value(), Json::Value("sda"), Json::Value(7)}) {
            Status status;
            status.setErrHandlingDiskRemote(list);
            EXPECT_FALSE(RebootRemote()(status));
        }
    });
}

}  // namespace
}  // namespace KORA::HA::Daemon::support
