// SPDX-License-Identifier: Apache-2.0
#include "hasupport/interface_checker.h"

#include <gtest/gtest.h>
#include <sys/resource.h>

#include "hasupport/replication_link.h"
#include "hasupport/status/readings.h"

namespace {

using KORA::HA::Daemon::InterfaceChecker;
using KORA::HA::Daemon::support::Reading;
using KORA::HA::Daemon::support::readingState;

bool isValid() {
    return readingState(Reading::netNonOkRate).valid;
}

TEST(InterfaceChecker, MeasuresARunningInterface) {
    drbdIF("lo");
    InterfaceChecker checker;
    float rate = -1.0F;
    ASSERT_TRUE(checker.networkNonOkRate(rate));
    EXPECT_EQ(rate, 0.0F) << "the first reading only sets the baseline";
    EXPECT_TRUE(isValid());
    ASSERT_TRUE(checker.networkNonOkRate(rate));
    EXPECT_GE(rate, 0.0F);
    EXPECT_LE(rate, 1.0F);
}

TEST(InterfaceChecker, LeavesTheRateAloneWithoutAnInterface) {
    InterfaceChecker checker;
    float rate = 0.25F;
    for (const char* const name : {"none0", "", "../lo", "lo/statistics"}) {
        drbdIF(name);
        EXPECT_FALSE(checker.networkNonOkRate(rate)) << name;
        EXPECT_EQ(rate, 0.25F);
        EXPECT_FALSE(isValid());
    }
    drbdIF("lo");
    EXPECT_TRUE(checker.networkNonOkRate(rate));
    EXPECT_TRUE(isValid());
}

TEST(InterfaceChecker, SaysWhyCountersCannotBeRead) {
    drbdIF("lo");
    InterfaceChecker checker;
    float rate = 0.25F;
    rlimit usual{};
    ASSERT_EQ(getrlimit(RLIMIT_NOFILE, &usual), 0);
    const rlimit none{0, usual.rlim_max};
    ASSERT_EQ(setrlimit(RLIMIT_NOFILE, &none), 0);
    const bool measured = checker.networkNonOkRate(rate);
    ASSERT_EQ(setrlimit(RLIMIT_NOFILE, &usual), 0);
    EXPECT_FALSE(measured);
    EXPECT_EQ(readingState(Reading::netNonOkRate).reason,
              "no counters of interface lo: Too many open files");
}

}  // namespace
