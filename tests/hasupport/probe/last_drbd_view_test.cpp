// SPDX-License-Identifier: Apache-2.0
#include "hasupport/probe/last_drbd_view.h"

#include <gtest/gtest.h>

namespace KORA::HA::Daemon::support {
namespace {

using Answer = DrbdView::Answer;
using namespace std::chrono_literals;

TEST(LastDrbdView, IsUnknownBeforeTheFirst) {
    const DrbdView view = LastDrbdView().get(SteadyClock::now());
    EXPECT_EQ(view.answer, Answer::unknown);
    EXPECT_EQ(view.reason, "drbdsetup has not answered yet");
}

TEST(LastDrbdView, IsTheLatestWhetherItTellsOrNot) {
    const auto now = SteadyClock::now();
    LastDrbdView last;
    last.keep({Answer::known, {}, {{"r0", true, true, false}}}, now);
    ASSERT_EQ(last.get(now + 5min).resources.size(), 1U);
    EXPECT_EQ(last.get(now + 5min).resources[0].name, "r0");
    last.keep({Answer::unknown, "drbdsetup did not answer in time", {}}, now + 1s);
    EXPECT_EQ(last.get(now + 1s).answer, Answer::unknown);
    EXPECT_EQ(last.get(now + 1s).reason, "drbdsetup did not answer in time");
    EXPECT_TRUE(last.get(now + 1s).resources.empty());
}

TEST(LastDrbdView, IsUnknownOnceNobodyAsksAnyMore) {
    const auto now = SteadyClock::now();
    LastDrbdView last;
    last.keep({Answer::known, {}, {{"r0", true, true, false}}}, now);
    const DrbdView view = last.get(now + 5min + 1s);
    EXPECT_EQ(view.answer, Answer::unknown);
    EXPECT_EQ(view.reason, "drbdsetup was last asked over 5 minutes ago");
    EXPECT_TRUE(view.resources.empty());
}

}  // namespace
}  // namespace KORA::HA::Daemon::support
