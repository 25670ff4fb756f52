#include "hasupport/interface_checker.h"

#include <gtest/gtest.h>

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

}  // namespace
