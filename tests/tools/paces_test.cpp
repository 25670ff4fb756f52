// SPDX-License-Identifier: Apache-2.0
#include "tools/configured_paces.h"

#include <gtest/gtest.h>

#include "tests/support/scratch_dir.h"

namespace {

using korahamonctl::Paces;
using korahamonctl::pacesFrom;
using korahamonctl::pacesOfFile;
using korahamonctl::staleAfter;

TEST(Paces, AreTheDefaultsWithoutAConfiguration) {
    const Paces paces = pacesFrom("{}");
    EXPECT_EQ(paces.peer, 5);
    EXPECT_EQ(paces.checks, 20);
    EXPECT_EQ(paces.interface, 20 * 241);
}

TEST(Paces, FollowTheConfiguration) {
    const Paces paces = pacesFrom(R"({"BASE_INTERVAL_BUSY_FLAG":"2","BASE_INTERVAL_ACTIVE":3,
        // as the daemon, comments are allowed
        "BASE_INTERVAL_PASSIVE":7.9,"NUM_OF_REST_NETWORK":1})");
    EXPECT_EQ(paces.peer, 2);
    EXPECT_EQ(paces.checks, 7);
    EXPECT_EQ(paces.interface, 14);
}

TEST(Paces, KeepTheDefaultForWhatIsUnusable) {
    for (const char* text :
         {"", "[", "[1]", "7", "null", R"({"BASE_INTERVAL_BUSY_FLAG":-5})",
          R"({"BASE_INTERVAL_BUSY_FLAG":"soon"})", R"({"BASE_INTERVAL_BUSY_FLAG":[]})",
          R"({"BASE_INTERVAL_BUSY_FLAG":9e99})"}) {
        EXPECT_EQ(pacesFrom(text).peer, 5) << text;
    }
    EXPECT_EQ(pacesFrom(std::string(100'000, '[')).checks, 20);
}

TEST(Paces, CountNullTrueAndFalseAsTheDaemonDoes) {
    EXPECT_EQ(pacesFrom(R"({"BASE_INTERVAL_BUSY_FLAG":null})").peer, 0);
    EXPECT_EQ(pacesFrom(R"({"BASE_INTERVAL_BUSY_FLAG":false})").peer, 0);
    EXPECT_EQ(pacesFrom(R"({"BASE_INTERVAL_BUSY_FLAG":true})").peer, 1);
}

TEST(Paces, OfAFileThatIsNotThereOrIsNone) {
    const koraha::test::ScratchDir scratch;
    EXPECT_EQ(pacesOfFile(scratch.path("absent")).peer, 5);
    EXPECT_EQ(pacesOfFile(scratch.path()).peer, 5);
    EXPECT_EQ(pacesOfFile(scratch.write("conf", R"({"BASE_INTERVAL_BUSY_FLAG":9})")).peer, 9);
}

TEST(Paces, GiveEachReadingItsAge) {
    const Paces paces = pacesFrom("{}");
    EXPECT_EQ(staleAfter("remoteAlive", paces), 20);
    EXPECT_EQ(staleAfter("drbdConnected", paces), 20);
    EXPECT_EQ(staleAfter("hbLatency", paces), 65);
    EXPECT_EQ(staleAfter("localMDResync", paces), 65);
    EXPECT_EQ(staleAfter("netNonOkRate", paces), 3 * 20 * 241 + 5);
}

}  // namespace
