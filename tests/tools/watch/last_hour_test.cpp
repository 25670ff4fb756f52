// SPDX-License-Identifier: Apache-2.0
#include "tools/watch/last_hour.h"

#include <gtest/gtest.h>

#include "scene.h"
#include "tools/watch/blocks.h"

namespace {

using namespace koraha::test;  // NOLINT(google-build-using-namespace)
using korahamonctl::watch::Cells;
using korahamonctl::watch::lastHour;
using korahamonctl::watch::LastHour;

constexpr double now = 36'000'000;  // a whole hour

Json::Value historyOf(std::initializer_list<Json::Value> samples) {
    Json::Value history;
    history["samples"] = Json::arrayValue;
    for (const Json::Value& sample : samples) {
        history["samples"].append(sample);
    }
    return history;
}

std::u32string glyphs(const Cells& cells) {
    std::u32string text;
    for (const auto& cell : cells) {
        text += cell.glyph;
    }
    return text;
}

TEST(LastHour, DividesTheHourAtWholeMultiples) {
    const auto history = historyOf({latencySample(now - 3541, 1, 5, 5),   // before the hour's parts
                                    latencySample(now - 3540, 2, 5, 5),   // begins the first
                                    latencySample(now - 0.001, 3, 5, 5),  // ends the last but one
                                    latencySample(now, 4, 5, 5), latencySample(now + 60, 5, 5, 5)});
    for (const double later : {0.0, 30.0, 59.9}) {
        const LastHour hour = lastHour(history, now + later, 60);
        ASSERT_EQ(hour.slots.size(), 60U);
        EXPECT_EQ(hour.secondsEach, 60);
        EXPECT_EQ(hour.slots.front().latency, 2.0);
        EXPECT_EQ(hour.slots.at(58).latency, 3.0);
        EXPECT_EQ(hour.slots.back().latency, 4.0);
        EXPECT_EQ(hour.latencies, 3U);
    }
    EXPECT_EQ(lastHour(history, now + 60, 60).slots.at(57).latency, 3.0);
}

TEST(LastHour, KeepsTheWorst) {
    const LastHour hour = lastHour(
        historyOf({latencySample(now, 7, 5, 4), latencySample(now, 2, 5, 5), rateSample(now, 0.5),
                   rateSample(now, 0.25), latencySample(now, 1500, 5, 2)}),
        now, 10);
    const auto& slot = hour.slots.back();
    EXPECT_EQ(slot.latency, 7.0);
    EXPECT_EQ(slot.sent, 15);
    EXPECT_EQ(slot.answered, 11);
    EXPECT_EQ(slot.rate, 0.5);
    EXPECT_TRUE(slot.withoutRoundTrip);
    EXPECT_EQ(hour.withoutRoundTrip, 1U);
    EXPECT_EQ(hour.least, 2.0);
    EXPECT_EQ(hour.most, 7.0);  // what was only waited is no round trip
}

TEST(LastHour, TakesNothingForGranted) {
    for (const char* text :
         {"7", "[]", "{}", R"({"samples":7})", R"({"samples":[7,{},[],null]})",
          R"({"samples":[{"at":"x","kind":"hbLatency"},{"at":1e300,"kind":"hbLatency"}]})",
          R"({"samples":[{"at":36000000,"kind":7,"value":1}]})"}) {
        const LastHour hour = lastHour(parsed(text), now, 60);
        EXPECT_EQ(hour.latencies, 0U) << text;
        EXPECT_FALSE(hour.slots.back().latency) << text;
    }
    const LastHour hour = lastHour(
        historyOf({latencySample(now, Json::nullValue, 5, 5), latencySample(now, 1, -5, 900)}), now,
        60);
    EXPECT_TRUE(hour.slots.back().withoutRoundTrip);
    EXPECT_EQ(hour.slots.back().answered, 5);
}

TEST(Blocks, RiseByEqualFactorsUpToTheThreshold) {
    LastHour hour;
    hour.slots.resize(10);
    const double values[] = {0, 0.1, 0.11, 0.32, 1, 3.2, 10, 32, 99.999, 100};
    for (std::size_t i = 0; i < hour.slots.size(); ++i) {
        hour.slots[i].latency = values[i];
        hour.slots[i].rate = values[i];
    }
    EXPECT_EQ(glyphs(latencyBlocks(hour, 100)), U"▁▁▂▃▄▅▆▇▇█");
    EXPECT_EQ(glyphs(rateBlocks(hour, 100)), U"▁▁▂▃▄▅▆▇▇█");
    EXPECT_EQ(glyphs(latencyBlocks(hour, 0)), U"██████████");
    hour.slots.resize(2);
    hour.slots[0] = {};
    hour.slots[1].withoutRoundTrip = true;
    EXPECT_EQ(glyphs(latencyBlocks(hour, 100)), U"·x");
}

TEST(Blocks, ShowTheShareOfLostEchoes) {
    LastHour hour;
    hour.slots.resize(6);
    const double answered[] = {0, 100, 99, 50, 1, 0};
    for (std::size_t i = 1; i < hour.slots.size(); ++i) {
        hour.slots[i].sent = 100;
        hour.slots[i].answered = answered[i];
    }
    EXPECT_EQ(glyphs(lossBlocks(hour)), U"·▁▂▅▇█");
}

}  // namespace
