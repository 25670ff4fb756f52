// SPDX-License-Identifier: Apache-2.0
// One probe's socket and its errors, in a network of its own.
#include "hasupport/net/echo_session.h"

#include <gtest/gtest.h>

#include <chrono>
#include <thread>
#include <vector>

#include "tests/support/in_namespace.h"
#include "tests/support/tun_peer.h"

namespace KORA::HA::Daemon::support {
namespace {

using namespace std::chrono_literals;
using koraha::test::command;
using koraha::test::inOwnNetwork;
using koraha::test::Request;
using koraha::test::TunPeer;

using Answers = std::vector<TunPeer::Answer>;

LinkAddresses tunnel() {
    return {TunPeer::local, TunPeer::remote, TunPeer::device};
}

TEST(EchoSession, ARefusedSendIsTriedAgain) {
    inOwnNetwork([] {
        const TunPeer peer(TunPeer::honest);
        EchoSession session(tunnel(), false);
        ASSERT_TRUE(session.open());
        command("ip xfrm policy add dst 192.0.2.2 dir out action block");
        EXPECT_FALSE(session.send(1));
        EXPECT_EQ(session.reason(), "cannot send an echo: Operation not permitted");
        EXPECT_FALSE(session.hopeless());
        EXPECT_FALSE(session.send(1));
        EXPECT_EQ(session.reason(), "no way to the remote address: Operation not permitted");
        EXPECT_FALSE(session.hopeless());
        command("ip xfrm policy del dst 192.0.2.2 dir out");
        EXPECT_TRUE(session.send(1));
        EXPECT_TRUE(session.receive(Deadline::in(30s)));
    });
}

/// Sends an echo, and waits until all that the peer says to it is there.
void sendAndLetAnswer(EchoSession& session, const TunPeer& peer) {
    const unsigned before = peer.requests();
    EXPECT_TRUE(session.send(1));
    EXPECT_TRUE(session.send(2));  // the peer takes it when it has written its answers to the first
    const Deadline patience = Deadline::in(30s);
    while (peer.requests() < before + 2 && !patience.passed()) {
        std::this_thread::sleep_for(1ms);
    }
    EXPECT_EQ(peer.requests(), before + 2);
}

int takeWhatIsThere(EchoSession& session) {
    int taken = 0;
    while (session.receive(Deadline(SteadyClock::now()))) {
        ++taken;
    }
    return taken;
}

TEST(EchoSession, RepliesRepeatedWithoutEndAreNotTakenWithoutEnd) {
    inOwnNetwork([] {
        constexpr int copies = 100;
        const TunPeer peer([](const Request& request) {
            return request.number % 2 == 0 ? Answers{} : Answers(copies, {request.reply(), 0ms});
        });
        EchoSession session(tunnel(), false);
        sendAndLetAnswer(session, peer);
        EXPECT_EQ(takeWhatIsThere(session), copies) << "what came in time";
        for (int more = 0; more < 3; ++more) {
            sendAndLetAnswer(session, peer);
            takeWhatIsThere(session);
        }
        sendAndLetAnswer(session, peer);
        EXPECT_EQ(takeWhatIsThere(session), 0);
        EXPECT_TRUE(session.receive(Deadline::in(30s))) << "who has time left still gets replies";
    });
}

}  // namespace
}  // namespace KORA::HA::Daemon::support
