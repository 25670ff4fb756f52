// SPDX-License-Identifier: Apache-2.0
#include <gtest/gtest.h>

#include <chrono>

#include "hasupport/remote_probes.h"
#include "hasupport/replication_link.h"
#include "hasupport/status/readings.h"
#include "tests/support/in_namespace.h"
#include "tests/support/tun_peer.h"

namespace {

using namespace std::chrono_literals;
using KORA::HA::Daemon::IsRemoteAlive;
using KORA::HA::Daemon::support::Reading;
using KORA::HA::Daemon::support::readingState;
using koraha::test::command;
using koraha::test::inOwnNetwork;
using koraha::test::Packet;
using koraha::test::Request;
using koraha::test::TunPeer;

using Answers = std::vector<TunPeer::Answer>;

void useLink(const std::string& local, const std::string& remote, const std::string& device) {
    localIP(local);
    remoteIP(remote);
    drbdIF(device);
}

void useTunnel() {
    useLink(TunPeer::local, TunPeer::remote, TunPeer::device);
}

bool isValid() {
    return readingState(Reading::remoteAlive).valid;
}
std::string reason() {
    return readingState(Reading::remoteAlive).reason;
}

/// Asks a peer that answers each request by what `change` makes of the proper reply.
bool aliveWhenRepliesAre(const std::function<void(Packet&, const Request&)>& change) {
    const TunPeer peer([&change](const Request& request) {
        Packet reply = request.reply();
        change(reply, request);
        return Answers{{reply, 0ms}};
    });
    useTunnel();
    return IsRemoteAlive()();
}

TEST(RemoteAlive, AnAnsweringPeerIsAlive) {
    inOwnNetwork([] {
        const TunPeer peer(TunPeer::honest);
        useTunnel();
        EXPECT_TRUE(IsRemoteAlive()());
        EXPECT_TRUE(isValid());
        EXPECT_EQ(peer.requests(), 1U);
    });
}

TEST(RemoteAlive, SoIsOneOverIpV6) {
    inOwnNetwork([] {
        const TunPeer peer(TunPeer::honest);
        useLink(TunPeer::localV6, TunPeer::remoteV6, TunPeer::device);
        EXPECT_TRUE(IsRemoteAlive()());
    });
}

TEST(RemoteAlive, SoIsOneAtALinkLocalAddress) {
    inOwnNetwork([] {
        const TunPeer peer(TunPeer::honest);
        useLink(TunPeer::localLink, TunPeer::remoteLink, TunPeer::device);
        EXPECT_TRUE(IsRemoteAlive()());
        useLink(TunPeer::localLink, "fe80::2%tun0", TunPeer::device);
        EXPECT_TRUE(IsRemoteAlive()());
    });
}

TEST(RemoteAlive, ASilentPeerIsNotAliveAfterThreeTriesAndOneSecond) {
    inOwnNetwork([] {
        const TunPeer peer([](const Request&) { return Answers{}; });
        useTunnel();
        const auto start = std::chrono::steady_clock::now();
        EXPECT_FALSE(IsRemoteAlive()());
        EXPECT_GE(std::chrono::steady_clock::now() - start, 1000ms);
        EXPECT_EQ(peer.requests(), 3U);
        EXPECT_TRUE(isValid()) << "the peer was asked: that is an answer";
    });
}

TEST(RemoteAlive, OneAnswerOfThreeIsEnough) {
    inOwnNetwork([] {
        const TunPeer peer([](const Request& request) {
            return request.number == 3 ? TunPeer::honest(request) : Answers{};
        });
        useTunnel();
        EXPECT_TRUE(IsRemoteAlive()());
        EXPECT_EQ(peer.requests(), 3U);
    });
}

TEST(RemoteAlive, RepliesThatDoNotMatchProveNothing) {
    inOwnNetwork([] {
        EXPECT_FALSE(aliveWhenRepliesAre([](Packet& reply, const Request& request) {
            reply.at(request.icmpAt() + 4) ^= 0xffU;  // another identifier
            koraha::test::fixChecksum(reply);
        }));
        EXPECT_FALSE(aliveWhenRepliesAre([](Packet& reply, const Request& request) {
            reply.at(request.icmpAt() + 9) ^= 0xffU;  // another cookie
            reply.at(request.icmpAt() + 17) ^= 0xffU;
            koraha::test::fixChecksum(reply);
        }));
        EXPECT_FALSE(aliveWhenRepliesAre([](Packet& reply, const Request& request) {
            reply.at(request.icmpAt() + 2) ^= 0xffU;  // damaged
        }));
        EXPECT_FALSE(aliveWhenRepliesAre([](Packet& reply, const Request&) {
            reply.at(15) = 3;  // from another host
        }));
        EXPECT_FALSE(aliveWhenRepliesAre([](Packet& reply, const Request& request) {
            reply.at(request.icmpAt()) = 3;  // destination unreachable
            koraha::test::fixChecksum(reply);
        }));
    });
}

TEST(RemoteAlive, ALateReplyOfAnEarlierProbeIsForeign) {
    inOwnNetwork([] {
        Packet old;
        const TunPeer peer([&old](const Request& request) {
            if (request.number == 1) {
                old = request.reply();
                return TunPeer::honest(request);
            }
            return Answers{{old, 0ms}};
        });
        useTunnel();
        EXPECT_TRUE(IsRemoteAlive()());
        EXPECT_FALSE(IsRemoteAlive()());
    });
}

TEST(RemoteAlive, APeerAddressOfThisHostIsReachedThroughLo) {
    inOwnNetwork([] {
        const TunPeer peer([](const Request&) { return Answers{}; });
        useLink(TunPeer::local, TunPeer::local, TunPeer::device);
        EXPECT_TRUE(IsRemoteAlive()());
        useLink("127.0.0.1", "127.0.0.2", TunPeer::device);
        EXPECT_TRUE(IsRemoteAlive()());
        useLink("::1", "::1", "lo");
        EXPECT_TRUE(IsRemoteAlive()());
    });
}

TEST(RemoteAlive, OnlyTheReplicationInterfaceCounts) {
    inOwnNetwork([] {
        const TunPeer peer(TunPeer::honest);
        command("ip link add other type veth && ip link set other up");
        useLink(TunPeer::local, TunPeer::remote, "other");
        EXPECT_FALSE(IsRemoteAlive()());
    });
}

TEST(RemoteAlive, AWrongSettingIsUnknownAtOnce) {
    inOwnNetwork([] {
        const auto start = std::chrono::steady_clock::now();
        useLink("192.0.2.1", "peer.example", "tun0");
        EXPECT_FALSE(IsRemoteAlive()());
        EXPECT_FALSE(isValid());
        EXPECT_EQ(reason(), "remote address \"peer.example\" is no IP address");
        useLink("", "192.0.2.2", "tun0");
        EXPECT_FALSE(IsRemoteAlive()());
        useLink("192.0.2.1", "2001:db8::2", "tun0");
        EXPECT_FALSE(IsRemoteAlive()());
        useLink("192.0.2.1", "192.0.2.2", "../eth0");
        EXPECT_FALSE(IsRemoteAlive()());
        EXPECT_EQ(reason(), "\"../eth0\" is no interface name");
        EXPECT_LT(std::chrono::steady_clock::now() - start, 900ms);
    });
}

TEST(RemoteAlive, AMissingInterfaceIsUnknownAndTriedAgain) {
    inOwnNetwork([] {
        useTunnel();
        EXPECT_FALSE(IsRemoteAlive()());
        EXPECT_FALSE(isValid());
        EXPECT_EQ(reason(), "cannot use interface tun0: No such device");
        const TunPeer peer(TunPeer::honest);
        EXPECT_TRUE(IsRemoteAlive()());
        EXPECT_TRUE(isValid());
    });
}

TEST(RemoteAlive, ALinkThatIsDownIsUnknown) {
    inOwnNetwork([] {
        const TunPeer peer(TunPeer::honest);
        command("ip link set tun0 down");
        useTunnel();
        EXPECT_FALSE(IsRemoteAlive()());
        EXPECT_FALSE(isValid());
    });
}

TEST(RemoteAlive, RefusedSendsAreTriedAgainForOneSecond) {
    inOwnNetwork([] {
        const TunPeer peer(TunPeer::honest);
        useTunnel();
        command("ip xfrm policy add dst 192.0.2.2 dir out action block");
        const auto start = std::chrono::steady_clock::now();
        EXPECT_FALSE(IsRemoteAlive()());
        EXPECT_GE(std::chrono::steady_clock::now() - start, 1000ms);
        EXPECT_FALSE(isValid());
        EXPECT_EQ(reason(), "no way to the remote address: Operation not permitted");
    });
}

TEST(RemoteAlive, ADatagramSocketServesWhereARawOneIsNotAllowed) {
    inOwnNetwork([] {
        const TunPeer peer(TunPeer::honest);
        useTunnel();
        command("echo 0 2147483647 > /proc/sys/net/ipv4/ping_group_range");
        koraha::test::giveUpRawSockets();
        EXPECT_TRUE(IsRemoteAlive()());
        useLink(TunPeer::localV6, TunPeer::remoteV6, TunPeer::device);
        EXPECT_TRUE(IsRemoteAlive()());
    });
}

TEST(RemoteAlive, WithoutTheRightToAnySocketItIsUnknown) {
    inOwnNetwork([] {
        const TunPeer peer(TunPeer::honest);
        useTunnel();
        command("echo 1 0 > /proc/sys/net/ipv4/ping_group_range");
        koraha::test::giveUpRawSockets();
        EXPECT_FALSE(IsRemoteAlive()());
        EXPECT_FALSE(isValid());
        EXPECT_EQ(reason(), "no ICMP socket: Permission denied");
    });
}

}  // namespace
