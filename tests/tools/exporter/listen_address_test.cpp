// SPDX-License-Identifier: Apache-2.0
#include "tools/exporter/listen_address.h"

#include <gtest/gtest.h>

#include "tools/exporter/host_check.h"

namespace {

using korahamonctl::HostCheck;
using korahamonctl::listenAddressFrom;

TEST(ListenAddress, IsAnAddressAndAPort) {
    const auto v4 = listenAddressFrom("127.0.0.1:18909");
    ASSERT_TRUE(v4);
    EXPECT_EQ(v4->host, "127.0.0.1");
    EXPECT_EQ(v4->port, 18909);
    const auto v6 = listenAddressFrom("[fe80::1]:0");
    ASSERT_TRUE(v6);
    EXPECT_EQ(v6->host, "fe80::1");
    EXPECT_EQ(v6->port, 0);
}

TEST(ListenAddress, IsNothingElse) {
    for (const char* text : {"", ":", "127.0.0.1", "127.0.0.1:", "127.0.0.1:65536", "127.0.0.1:-1",
                             "127.0.0.1:1x", "localhost:80", "::1:80", "[127.0.0.1]:80", "[]:80",
                             "[::1]", "[::1:80", ":80", "1.2.3:80"}) {
        EXPECT_FALSE(listenAddressFrom(text)) << text;
    }
}

TEST(HostCheck, KnowsAddressesOfBothVersions) {
    const HostCheck check({"fd00::7", "10.0.0.7"});
    EXPECT_TRUE(check.admitsHost("[FD00::7]:80", "::1"));
    EXPECT_TRUE(check.admitsHost("[::1]", "::1"));
    EXPECT_TRUE(check.admitsHost("10.0.0.7", "::1"));
    EXPECT_TRUE(check.admitsHost("10.1.2.3:80", "::ffff:10.1.2.3"));
    EXPECT_FALSE(check.admitsHost("[::2]", "::1"));
    EXPECT_FALSE(check.admitsHost("[::1]x", "::1"));
    EXPECT_FALSE(check.admitsHost("::1", "::1"));
    EXPECT_TRUE(check.admitsOrigin("https://[::1]:80", "::1"));
    EXPECT_FALSE(check.admitsOrigin("http://[::1]:80/path", "::1"));
}

}  // namespace
