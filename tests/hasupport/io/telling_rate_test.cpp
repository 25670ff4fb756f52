// SPDX-License-Identifier: Apache-2.0
#include "hasupport/io/telling_rate.h"

#include <gtest/gtest.h>

namespace KORA::HA::Daemon::support {
namespace {

using std::chrono::seconds;

int allowed(TellingRate& rate, SteadyClock::time_point now) {
    int count = 0;
    for (int i = 0; i < 1000; ++i) {
        count += rate.allows(now) ? 1 : 0;
    }
    return count;
}

TEST(TellingRate, AllowsFiveAtOnceAndOneInTenSecondsAfterThat) {
    TellingRate rate;
    auto now = SteadyClock::now();
    EXPECT_EQ(allowed(rate, now), 5);
    EXPECT_EQ(allowed(rate, now + seconds(9)), 0);
    EXPECT_EQ(allowed(rate, now + seconds(10)), 1);
    EXPECT_EQ(allowed(rate, now + seconds(39)), 2);
    now += seconds(3600);
    EXPECT_EQ(allowed(rate, now), 5) << "rest pays back, up to five";
}

}  // namespace
}  // namespace KORA::HA::Daemon::support
