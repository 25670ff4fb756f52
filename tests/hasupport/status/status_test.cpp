// SPDX-License-Identifier: Apache-2.0
#include "hasupport/status.h"

#include <gtest/gtest.h>

#include <future>
#include <optional>
#include <string>
#include <thread>

#include "tests/support/told.h"

namespace {

using KORA::HA::Daemon::Status;
using namespace std::chrono_literals;

Json::Value listOf(std::initializer_list<const char*> names) {
    Json::Value list(Json::arrayValue);
    for (const char* name : names) {
        list.append(name);
    }
    return list;
}

TEST(Status, StartsWithNothingKnown) {
    const Status status;
    EXPECT_FALSE(status.isRemoteAlive());
    EXPECT_FALSE(status.drbdConnected);
    EXPECT_FALSE(status.remoteMDResync);
    EXPECT_FALSE(status.remoteDiskErrHandling);
    EXPECT_FALSE(status.localMDResync);
    EXPECT_FALSE(status.localDiskErrHandling);
    EXPECT_EQ(status.netNonOkRate, 0.0F);
    EXPECT_EQ(status.hbLatency, 0.0F);
    EXPECT_TRUE(status.getErrHandlingDisk().isNull());
    EXPECT_TRUE(status.getErrHandlingDiskRemote().isNull());
    EXPECT_TRUE(status.getErrHandlingDisksSeen().empty());
}

TEST(Status, GivesBackTheLastListWithItsOrderAndDuplicates) {
    Status status;
    status.setErrHandlingDiskRemote(listOf({"sdb"}));
    const Json::Value disks = listOf({"sdz", "sda", "sdz"});
    status.setErrHandlingDiskRemote(disks);
    EXPECT_EQ(status.getErrHandlingDiskRemote(), disks);
    EXPECT_TRUE(status.getErrHandlingDisk().isNull());
}

TEST(Status, StoresWhateverItIsGivenButRemembersOnlyNames) {
    Status status;
    Json::Value odd(Json::arrayValue);
    odd.append(7);
    odd.append(Json::Value(Json::objectValue));
    odd.append("sda");
    odd.append(std::string(257, 'x'));
    status.setErrHandlingDisk(odd);
    EXPECT_EQ(status.getErrHandlingDisk(), odd);
    status.setErrHandlingDiskRemote(Json::Value(3.5));
    EXPECT_EQ(status.getErrHandlingDiskRemote(), Json::Value(3.5));
    EXPECT_EQ(status.getErrHandlingDisksSeen(), std::set<std::string>{"sda"});
}

TEST(Status, IsReadWhileItTellsAStuckSystemLogOfTooManyNames) {
    Status status;
    status.setRemoteAlive(true);
    for (int pass = 0; pass < 1024; ++pass) {
        status.setErrHandlingDisk(listOf({("local" + std::to_string(pass)).c_str()}));
    }
    std::optional<koraha::test::StuckSystemLog> stuck;
    stuck.emplace();
    const auto told = std::async(std::launch::async,
                                 [&] { status.setErrHandlingDiskRemote(listOf({"one more"})); });
    while (!stuck->isWaitedFor() && told.wait_for(1ms) != std::future_status::ready) {
    }
    EXPECT_TRUE(stuck->isWaitedFor());
    const auto alive = std::async(std::launch::async, [&] { return status.isRemoteAlive(); });
    EXPECT_EQ(alive.wait_for(20s), std::future_status::ready);
    stuck.reset();
    told.wait();
    EXPECT_EQ(koraha::test::timesTold("too many disk names under error handling"), 1U);
}

TEST(Status, RemembersTheNamesOfBothNodesWithABound) {
    Status status;
    status.setErrHandlingDisk(listOf({"local0"}));
    for (int pass = 0; pass < 3000; ++pass) {
        status.setErrHandlingDiskRemote(listOf({("fresh" + std::to_string(pass)).c_str()}));
    }
    EXPECT_EQ(status.getErrHandlingDisksSeen().size(), 1024U);
    EXPECT_TRUE(status.getErrHandlingDisksSeen().contains("local0"));
    EXPECT_EQ(status.getErrHandlingDiskRemote(), listOf({"fresh2999"}));
}

TEST(Status, TakesWritersAndReadersAtOnce) {
    Status status;
    std::atomic<bool> stop{false};
    std::jthread writer([&] {
        for (int pass = 0; !stop; ++pass) {
            status.setRemoteAlive(pass % 2 == 0);
            status.setErrHandlingDisk(pass % 2 == 0 ? listOf({"sda"}) : listOf({"sdb", "sdc"}));
            status.hbLatency = static_cast<float>(pass);
        }
    });
    while (status.getErrHandlingDisk().isNull()) {
        std::this_thread::yield();
    }
    for (int pass = 0; pass < 2000; ++pass) {
        const Json::Value list = status.getErrHandlingDisk();
        EXPECT_TRUE(list == listOf({"sda"}) || list == listOf({"sdb", "sdc"}));
    }
    stop = true;
}

}  // namespace
