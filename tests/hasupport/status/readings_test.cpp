// SPDX-License-Identifier: Apache-2.0
#include "hasupport/status/readings.h"

#include <gtest/gtest.h>

#include <set>

namespace KORA::HA::Daemon::support {
namespace {

// The table is the process's: each test leaves its group as some test after it may find it.

TEST(Readings, HaveDistinctNames) {
    std::set<std::string_view> names;
    for (std::size_t index = 0; index < readingCount; ++index) {
        names.insert(readingName(static_cast<Reading>(index)));
    }
    EXPECT_EQ(names.size(), readingCount);
    EXPECT_EQ(readingName(Reading::remoteAlive), "remoteAlive");
    EXPECT_EQ(readingName(Reading::localDiskErrHandling), "localDiskErrHandling");
    EXPECT_EQ(readingName(Reading::hbLatency), "hbLatency");
}

TEST(Readings, TellGoodFromFailedAndKeepTheTimeOfTheLastGoodOne) {
    const auto before = SteadyClock::now();
    noteGood(Reading::drbdConnected);
    const ReadingState good = readingState(Reading::drbdConnected);
    EXPECT_TRUE(good.valid);
    EXPECT_EQ(good.reason, "");
    ASSERT_TRUE(good.lastGood);
    EXPECT_GE(*good.lastGood, before);

    noteFailed(Reading::drbdConnected, "no module");
    const ReadingState failed = readingState(Reading::drbdConnected);
    EXPECT_FALSE(failed.valid);
    EXPECT_EQ(failed.reason, "no module");
    EXPECT_EQ(failed.lastGood, good.lastGood);
    ASSERT_TRUE(failed.lastAttempt);
    EXPECT_GE(*failed.lastAttempt, *good.lastAttempt);
}

TEST(Readings, CountChangesOnly) {
    noteFailed(Reading::localMDResync, "first");
    const auto start = readingsGeneration();
    noteFailed(Reading::localMDResync, "first");
    EXPECT_EQ(readingsGeneration(), start);
    noteFailed(Reading::localMDResync, "second");
    EXPECT_EQ(readingsGeneration(), start + 1);
    noteGood(Reading::localMDResync);
    EXPECT_EQ(readingsGeneration(), start + 2);
    noteGood(Reading::localMDResync);
    EXPECT_EQ(readingsGeneration(), start + 2);
}

TEST(Readings, BoundAndCleanTheReason) {
    noteFailed(Reading::netNonOkRate, std::string(1000, 'a') + "end");
    EXPECT_EQ(readingState(Reading::netNonOkRate).reason, std::string(160, 'a'));
    noteFailed(Reading::netNonOkRate, "a\nb\x1b\xff");
    EXPECT_EQ(readingState(Reading::netNonOkRate).reason, "a?b??");
}

}  // namespace
}  // namespace KORA::HA::Daemon::support
