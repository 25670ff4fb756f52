// SPDX-License-Identifier: Apache-2.0
#include "hasupport/net/echo_packet.h"

#include <gtest/gtest.h>
#include <sys/socket.h>

#include <vector>

namespace {

using KORA::HA::Daemon::support::decodeReply;
using KORA::HA::Daemon::support::Echo;
using KORA::HA::Daemon::support::EchoBytes;
using KORA::HA::Daemon::support::echoSize;
using KORA::HA::Daemon::support::encodeRequest;
using KORA::HA::Daemon::support::withoutIpHeader;

constexpr Echo sample{0x1234, 7, 0x0123456789abcdefULL};

/// The reply to a request: another type, and the checksum that goes with it (8 less in the type
/// byte makes 0x0800 more in the checksum, with the carry around the end).
EchoBytes replyV4(const Echo& echo) {
    EchoBytes bytes = encodeRequest(echo, AF_INET);
    bytes[0] = std::byte{0};
    unsigned sum =
        (std::to_integer<unsigned>(bytes[2]) << 8U) + std::to_integer<unsigned>(bytes[3]);
    sum += 0x0800U;
    sum = (sum & 0xffffU) + (sum >> 16U);
    bytes[2] = static_cast<std::byte>(sum >> 8U);
    bytes[3] = static_cast<std::byte>(sum);
    return bytes;
}

EchoBytes replyV6(const Echo& echo) {
    EchoBytes bytes = encodeRequest(echo, AF_INET6);
    bytes[0] = std::byte{129};
    return bytes;
}

TEST(EchoPacket, ARequestIsWhatTheStandardSays) {
    const EchoBytes v4 = encodeRequest(sample, AF_INET);
    EXPECT_EQ(v4[0], std::byte{8});
    EXPECT_EQ(v4[1], std::byte{0});
    EXPECT_EQ(v4[4], std::byte{0x12});
    EXPECT_EQ(v4[5], std::byte{0x34});
    EXPECT_EQ(v4[6], std::byte{0});
    EXPECT_EQ(v4[7], std::byte{7});
    unsigned sum = 0;
    for (std::size_t at = 0; at < v4.size(); at += 2) {
        sum +=
            (std::to_integer<unsigned>(v4.at(at)) << 8U) + std::to_integer<unsigned>(v4.at(at + 1));
    }
    EXPECT_EQ((sum & 0xffffU) + (sum >> 16U), 0xffffU);
    EXPECT_EQ(encodeRequest(sample, AF_INET6)[0], std::byte{128});
}

TEST(EchoPacket, AReplyGivesTheEchoBack) {
    EXPECT_EQ(decodeReply(replyV4(sample), AF_INET), sample);
    EXPECT_EQ(decodeReply(replyV6(sample), AF_INET6), sample);
    const Echo extreme{0xffff, 0xffff, ~0ULL};
    EXPECT_EQ(decodeReply(replyV4(extreme), AF_INET), extreme);
}

TEST(EchoPacket, ARequestIsNoReply) {
    EXPECT_FALSE(decodeReply(encodeRequest(sample, AF_INET), AF_INET));
    EXPECT_FALSE(decodeReply(encodeRequest(sample, AF_INET6), AF_INET6));
    EXPECT_FALSE(decodeReply(replyV6(sample), AF_INET));
}

TEST(EchoPacket, EveryDamagedBitIsSeen) {
    for (std::size_t bit = 0; bit < echoSize * 8; ++bit) {
        EchoBytes bytes = replyV4(sample);
        bytes.at(bit / 8) ^= std::byte{1} << (bit % 8);
        EXPECT_FALSE(decodeReply(bytes, AF_INET)) << bit;
    }
}

TEST(EchoPacket, OtherLengthsAreRefused) {
    const EchoBytes bytes = replyV4(sample);
    std::vector<std::byte> longer(bytes.begin(), bytes.end());
    longer.resize(longer.size() + 2);
    EXPECT_FALSE(decodeReply(longer, AF_INET));
    for (std::size_t size = 0; size < echoSize; ++size) {
        EXPECT_FALSE(decodeReply(std::span(bytes).first(size), AF_INET)) << size;
    }
}

TEST(EchoPacket, CutsAnIpHeaderOfAnyLength) {
    std::vector<std::byte> packet(44);
    packet[0] = std::byte{0x45};
    packet[9] = std::byte{1};
    EXPECT_EQ(withoutIpHeader(packet).size(), 24U);
    packet[0] = std::byte{0x46};
    EXPECT_EQ(withoutIpHeader(packet).size(), 20U);
    packet[0] = std::byte{0x4f};
    EXPECT_TRUE(withoutIpHeader(packet).empty()) << "longer than the packet";
    packet[0] = std::byte{0x44};
    EXPECT_TRUE(withoutIpHeader(packet).empty()) << "shorter than any header";
    packet[0] = std::byte{0x45};
    packet[9] = std::byte{17};
    EXPECT_TRUE(withoutIpHeader(packet).empty()) << "not ICMP";
    packet.resize(19);
    EXPECT_TRUE(withoutIpHeader(packet).empty());
    EXPECT_TRUE(withoutIpHeader({}).empty());
}

}  // namespace
