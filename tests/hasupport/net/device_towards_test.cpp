// SPDX-License-Identifier: Apache-2.0
#include "hasupport/net/device_towards.h"

#include <gtest/gtest.h>

namespace KORA::HA::Daemon::support {
namespace {

std::string towards(const std::string& address) {
    return deviceTowards(IpAddress::parse(address, "eth1").value(), "eth1");
}

TEST(DeviceTowards, IsTheInterfaceButForAnAddressOfThisHost) {
    EXPECT_EQ(towards("192.0.2.77"), "eth1");
    EXPECT_EQ(towards("127.0.0.1"), "");
    EXPECT_EQ(towards("192.0.2.77"), "eth1") << "another address is asked for at once";
    EXPECT_EQ(towards("2001:db8::77"), "eth1");
    EXPECT_EQ(towards("::1"), "");
    EXPECT_EQ(towards("::1"), "");
}

}  // namespace
}  // namespace KORA::HA::Daemon::support
