// SPDX-License-Identifier: Apache-2.0
#include "hasupport/net/ip_address.h"

#include <gtest/gtest.h>
#include <net/if.h>

#include <cstring>

namespace {

using KORA::HA::Daemon::support::IpAddress;

TEST(IpAddress, TakesNumbersOnly) {
    EXPECT_EQ(IpAddress::parse("192.0.2.1", "lo").value().family(), AF_INET);
    EXPECT_EQ(IpAddress::parse("2001:db8::1", "lo").value().family(), AF_INET6);
    for (const char* const text : {"", "host", "192.0.2", "192.0.2.256", "192.0.2.1 ", "010.0.0.1x",
                                   "2001:db8::1%lo", "192.0.2.1%lo", "::g", "%lo"}) {
        EXPECT_FALSE(IpAddress::parse(text, "lo")) << text;
    }
}

TEST(IpAddress, ALinkLocalAddressBelongsToAnInterface) {
    const auto scopeOf = [](const IpAddress& address) {
        sockaddr_in6 raw{};
        std::memcpy(&raw, address.data(), address.size());
        return raw.sin6_scope_id;
    };
    const unsigned lo = ::if_nametoindex("lo");
    ASSERT_NE(lo, 0U);
    EXPECT_EQ(scopeOf(IpAddress::parse("fe80::1", "lo").value()), lo);
    EXPECT_EQ(scopeOf(IpAddress::parse("fe80::1%lo", "none0").value()), lo);
    EXPECT_EQ(scopeOf(IpAddress::parse("fe80::1", "none0").value()), 0U);
    EXPECT_EQ(scopeOf(IpAddress::parse("2001:db8::1", "lo").value()), 0U);
}

TEST(IpAddress, ComparesHosts) {
    const auto same = [](const char* one, const char* other) {
        return IpAddress::parse(one, "lo").value().sameHost(IpAddress::parse(other, "lo").value());
    };
    EXPECT_TRUE(same("192.0.2.1", "192.0.2.1"));
    EXPECT_FALSE(same("192.0.2.1", "192.0.2.2"));
    EXPECT_TRUE(same("fe80::1", "fe80::1%lo"));
    EXPECT_FALSE(same("::1", "::2"));
    EXPECT_FALSE(same("::1", "127.0.0.1"));
}

TEST(IpAddress, KnowsThisHostsOwn) {
    EXPECT_TRUE(IpAddress::parse("127.0.0.1", "lo").value().isOwn());
    EXPECT_TRUE(IpAddress::parse("127.9.9.9", "lo").value().isOwn());
    EXPECT_FALSE(IpAddress::parse("192.0.2.77", "lo").value().isOwn());
    EXPECT_FALSE(IpAddress::parse("2001:db8::77", "lo").value().isOwn());
}

}  // namespace
