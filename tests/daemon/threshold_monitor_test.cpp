// SPDX-License-Identifier: Apache-2.0
#include "monitor/threshold_monitor.h"

#include <gtest/gtest.h>

#include "tests/daemon/support/calls.h"
#include "tests/daemon/support/sample_in_turn.h"
#include "tests/scripted/script.h"

namespace KORA::HA::Daemon {
namespace {

using namespace koraha::test;

#ifndef __SANITIZE_THREAD__  // which reads a sample its own way, and more than once
constexpr MonitorTexts texts = {THR_OF_HB_LATENCY, "event", 1, "normal", 2, "over: ", 3, "failed"};

TEST(ThresholdMonitor, valueStoredBetweenTheTwoReadsOfASampleIsTheOneThatIsJudged) {
    ThresholdMonitor monitor(texts, 0);
    const SampleInTurn changing({150, 50, 50, 60, 170, 170});
    monitor.judge(changing.sample());  // 150 is fresh, 50 is judged
    EXPECT_EQ(2, SampleInTurn::reads());
    EXPECT_EQ(Calls{}, script().calls);
    monitor.judge(changing.sample());  // 50 again: not fresh, and not read again
    EXPECT_EQ(3, SampleInTurn::reads());
    monitor.judge(changing.sample());  // 60 is fresh, 170 is judged
    EXPECT_EQ(5, SampleInTurn::reads());
    EXPECT_EQ(Calls{"koraharemotemond:2 over: 170.000000"}, script().logLines);
    monitor.judge(changing.sample());
    EXPECT_EQ(6, SampleInTurn::reads());
    EXPECT_EQ(1U, script().logLines.size());
}
#endif

}  // namespace
}  // namespace KORA::HA::Daemon
