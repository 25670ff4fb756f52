// SPDX-License-Identifier: Apache-2.0
#include "hasupport/kernel/net_counters.h"

#include <gtest/gtest.h>

#include "hasupport/kernel/interface_name.h"
#include "tests/support/scratch_dir.h"
#include "tests/support/test_data.h"

namespace {

using KORA::HA::Daemon::support::failureRate;
using KORA::HA::Daemon::support::isInterfaceName;
using KORA::HA::Daemon::support::KernelRoots;
using KORA::HA::Daemon::support::NetCounters;
using KORA::HA::Daemon::support::readNetCounters;
using koraha::test::capturedRoots;
using koraha::test::ScratchDir;

class Counters : public ::testing::Test {
  protected:
    Counters() {
        for (const char* const name : {"rx_packets", "tx_packets", "rx_errors", "rx_missed_errors",
                                       "tx_errors", "tx_dropped", "rx_dropped"}) {
            set(name, "0");
        }
        dir_.write("class/net/eth1/ifindex", "3\n");
    }
    void set(const std::string& name, const std::string& value) const {
        dir_.write("class/net/eth1/statistics/" + name, value + "\n");
    }
    KernelRoots roots() const { return {dir_.path(), dir_.path()}; }

    ScratchDir dir_;
};

TEST_F(Counters, AddsUpBothDirections) {
    set("rx_packets", "100");
    set("tx_packets", "50");
    set("rx_errors", "1");
    set("rx_missed_errors", "2");
    set("tx_errors", "4");
    set("tx_dropped", "8");
    set("rx_dropped", "1000");  // frames nobody asked for: no failure
    const auto counters = readNetCounters(roots(), "eth1").value();
    EXPECT_EQ(counters.good, 150U);
    EXPECT_EQ(counters.failed, 15U);
    EXPECT_EQ(counters.interface, 3U);
}

TEST_F(Counters, TakesTheLargestNumbers) {
    set("rx_packets", "18446744073709551615");
    EXPECT_EQ(readNetCounters(roots(), "eth1").value().good, ~0ULL);
    set("rx_packets", "18446744073709551616");
    EXPECT_FALSE(readNetCounters(roots(), "eth1"));
}

TEST_F(Counters, GivesNothingForWhatItCannotRead) {
    EXPECT_FALSE(readNetCounters(roots(), "eth2"));
    EXPECT_FALSE(readNetCounters(roots(), ""));
    EXPECT_FALSE(readNetCounters(roots(), "../net/eth1"));
    for (const char* const value : {"", "-1", "1 2", "0x10", "many"}) {
        set("tx_errors", value);
        EXPECT_FALSE(readNetCounters(roots(), "eth1")) << value;
    }
}

TEST_F(Counters, DoesWithoutTheInterfacesNumber) {
    dir_.write("class/net/eth1/ifindex", "");
    EXPECT_EQ(readNetCounters(roots(), "eth1").value().interface, 0U);
}

TEST(CapturedCounters, AreReadAsTheKernelShowedThem) {
    const auto healthy = readNetCounters(capturedRoots("net-healthy"), "eth0").value();
    EXPECT_EQ(healthy.good, 13U);
    EXPECT_EQ(healthy.failed, 0U);
    EXPECT_EQ(healthy.interface, 2U);
    EXPECT_EQ(readNetCounters(capturedRoots("net-vlan"), "eth0.100").value().good, 11U);
    EXPECT_EQ(readNetCounters(capturedRoots("net-bond"), "bond0").value().good, 13U);
    EXPECT_TRUE(readNetCounters(capturedRoots("net-no-carrier"), "eth0"));
    EXPECT_FALSE(readNetCounters(capturedRoots("net-healthy"), "bond0"));
}

TEST(CapturedCounters, FramesNobodyAskedForAreNoFailures) {
    const auto before = readNetCounters(capturedRoots("net-healthy"), "eth0");
    const auto after = readNetCounters(capturedRoots("net-rx-dropped"), "eth0").value();
    EXPECT_GT(after.good, before.value().good);
    EXPECT_EQ(failureRate(before, after), 0.0F);
}

TEST(FailureRate, IsTheShareOfFailedPacketsSinceTheLastReading) {
    EXPECT_FLOAT_EQ(failureRate(NetCounters{1000, 5, 3}, {1990, 15, 3}), 0.01F);
    EXPECT_FLOAT_EQ(failureRate(NetCounters{1000, 5, 3}, {1000, 6, 3}), 1.0F);
    EXPECT_FLOAT_EQ(failureRate(NetCounters{1000, 5, 3}, {9000, 5, 3}), 0.0F);
}

TEST(FailureRate, IsZeroWithoutABaselineAndWithoutTraffic) {
    EXPECT_EQ(failureRate(std::nullopt, {1000, 500, 3}), 0.0F);
    EXPECT_EQ(failureRate(NetCounters{1000, 5, 3}, {1000, 5, 3}), 0.0F);
}

TEST(FailureRate, StartsAfreshAfterACounterWentBack) {
    EXPECT_EQ(failureRate(NetCounters{1000, 5, 3}, {10, 8, 3}), 0.0F);
    EXPECT_EQ(failureRate(NetCounters{1000, 5, 3}, {2000, 4, 3}), 0.0F);
    EXPECT_EQ(failureRate(NetCounters{1000, 5, 3}, {2000, 500, 4}), 0.0F) << "made anew";
}

TEST(InterfaceName, IsWhatTheKernelTakes) {
    for (const char* const good : {"eth0", "bond0.100", "enp3s0f1", "a", "fifteen-bytes-x"}) {
        EXPECT_TRUE(isInterfaceName(good)) << good;
    }
    for (const char* const bad :
         {"", ".", "..", "a/b", "eth0:1", "a b", "sixteen-bytes-xy", "a\n"}) {
        EXPECT_FALSE(isInterfaceName(bad)) << bad;
    }
}

}  // namespace
