// SPDX-License-Identifier: Apache-2.0
#include "hasupport/settings/link_addresses.h"

#include <gtest/gtest.h>

#include <atomic>
#include <string>
#include <thread>

#include "hasupport/replication_link.h"

namespace KORA::HA::Daemon::support {
namespace {

class LinkAddressesTest : public testing::Test {
  protected:
    ~LinkAddressesTest() override {
        localIP({});
        remoteIP({});
        drbdIF({});
    }
};

TEST_F(LinkAddressesTest, AreKeptAsTheyStandAndReturned) {
    const std::string hostile("no address\n%s\0\xff", 15);
    EXPECT_EQ(localIP("192.0.2.1"), "192.0.2.1");
    EXPECT_EQ(remoteIP(hostile), hostile);
    EXPECT_EQ(drbdIF(std::string(100'000, 'x')), std::string(100'000, 'x'));
    const LinkAddresses link = linkAddresses();
    EXPECT_EQ(link.local, "192.0.2.1");
    EXPECT_EQ(link.remote, hostile);
    EXPECT_EQ(link.interface, std::string(100'000, 'x'));
}

TEST_F(LinkAddressesTest, ChangeOneByOne) {
    localIP("a");
    remoteIP("b");
    drbdIF("c");
    remoteIP("");
    const LinkAddresses link = linkAddresses();
    EXPECT_EQ(link.local, "a");
    EXPECT_EQ(link.remote, "");
    EXPECT_EQ(link.interface, "c");
}

TEST_F(LinkAddressesTest, AreReadWholeWhileTheyChange) {
    const std::string one(100, '1');
    const std::string two(200, '2');
    remoteIP(one);
    std::atomic<bool> stop{false};
    std::thread writer([&] {
        while (!stop) {
            remoteIP(two);
            remoteIP(one);
        }
    });
    for (int i = 0; i < 10'000; ++i) {
        const std::string got = linkAddresses().remote;
        if (got != one && got != two) {
            ADD_FAILURE() << got;
            break;
        }
    }
    stop = true;
    writer.join();
}

}  // namespace
}  // namespace KORA::HA::Daemon::support
