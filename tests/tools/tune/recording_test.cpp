// SPDX-License-Identifier: Apache-2.0
#include "tools/tune/recording.h"

#include <gtest/gtest.h>

#include "tests/tools/watch/scene.h"

namespace {

using koraha::test::latencySample;
using koraha::test::rateSample;
using korahamonctl::tune::Recording;

// 10:00:00 on 21 November 2026, where the records below begin.
constexpr std::int64_t start = 1'795'255'200'000;

std::string sampleLine(const std::string& second, int sequence, const std::string& kind,
                       const std::string& value) {
    const std::string stamp = "2026-11-21T10:00:" + second;
    return stamp + ".999999Z record=sample time=" + stamp +
           ".250Z sequence=" + std::to_string(sequence) + " kind=" + kind + " value=" + value +
           (kind == "hbLatency" ? " sent=5 answered=5" : "");
}

TEST(Recording, TakesBothKindsWithTheirTimes) {
    Recording recording;
    recording.take(sampleLine("01", 1, "hbLatency", "0.310000"));
    recording.take(sampleLine("02", 2, "netNonOkRate", "0.001000"));
    recording.take("2026-11-21T10:00:30.000000Z record=status remoteAlive=true");
    ASSERT_EQ(recording.runs().size(), 1U);
    const auto& run = recording.runs().front();
    ASSERT_EQ(run.latencies.size(), 1U);
    EXPECT_EQ(run.latencies.front().atMs, start + 1250);
    EXPECT_EQ(run.latencies.front().value, 0.31);
    ASSERT_EQ(run.rates.size(), 1U);
    EXPECT_EQ(run.rates.front().value, 0.001);
    EXPECT_EQ(run.endMs, start + 30'000);
    EXPECT_EQ(recording.missing(), 0U);
}

TEST(Recording, BeginsARunWhereTheNumbersOrTheClockGoBack) {
    Recording recording;
    recording.take(sampleLine("01", 7, "hbLatency", "0.3"));  // older ones were rotated away
    recording.take(sampleLine("05", 10, "hbLatency", "0.3"));
    recording.take(sampleLine("09", 1, "hbLatency", "0.3"));
    recording.take(sampleLine("08", 2, "hbLatency", "0.3"));
    EXPECT_EQ(recording.runs().size(), 3U);
    EXPECT_EQ(recording.missing(), 2U);
}

TEST(Recording, PassesOverWhatIsNoSample) {
    Recording recording;
    for (const std::string& line :
         {std::string(), std::string("record=sample time=x"),
          std::string("2026-11-21T10:00:01.000000Z record=sample"),
          std::string("2026-11-21T10:00:01.000000Z record=sample kind=hbLatency value=1"),
          std::string("2026-11-21T10:00:01.000000Z record=process name=record=sample"),
          sampleLine("xx", 1, "hbLatency", "1"), sampleLine("01", 1, "hbLatency", "1x"),
          sampleLine("01", 1, "hbLatency", ""), sampleLine("01", 0, "hbLatency", "1"),
          sampleLine("01", 1, "other", "1"), std::string("\x1b\xff record=sample \n\t")}) {
        recording.take(line);
    }
    EXPECT_TRUE(recording.runs().empty());
}

TEST(Recording, TakesFromTheHistoryWhatIsNotRecordedYet) {
    Recording recording;
    recording.take(sampleLine("01", 1, "hbLatency", "0.310000"));
    Json::Value history;
    const auto at = [](std::int64_t ms) { return static_cast<double>(start + ms) / 1000; };
    history["samples"].append(latencySample(at(1251), 0.31, 5, 5));  // rounded, not cut
    history["samples"].append(latencySample(at(2000), 0.31234567, 5, 5));
    history["samples"].append(rateSample(at(3000), 0.5));
    history["samples"].append(latencySample(at(900'000), 1, 5, 5));  // not yet
    history["samples"].append("nonsense");
    history["samples"].append(latencySample(at(4000), Json::nullValue, 5, 0));
    recording.takeHistory(history, start + 60'000);
    ASSERT_EQ(recording.runs().size(), 1U);
    const auto& run = recording.runs().front();
    ASSERT_EQ(run.latencies.size(), 2U);
    EXPECT_EQ(run.latencies.back().atMs, start + 2000);
    EXPECT_EQ(run.latencies.back().value, 0.312346);
    EXPECT_EQ(run.rates.size(), 1U);
    EXPECT_EQ(run.endMs, start + 60'000);

    Recording alone;
    alone.takeHistory(history, start + 60'000);
    EXPECT_EQ(alone.runs().front().latencies.size(), 2U);
    Recording nothing;
    nothing.takeHistory(Json::Value(7), start);
    EXPECT_TRUE(nothing.runs().empty());
}

}  // namespace
