// SPDX-License-Identifier: Apache-2.0
#include "hasupport/status/history.h"

#include <gtest/gtest.h>

#include <thread>

namespace KORA::HA::Daemon::support {
namespace {

std::uint64_t lastSequence() {
    const auto all = samplesAfter(0);
    return all.empty() ? 0 : all.back().sequence;
}

TEST(History, GivesSamplesInOrderAfterASequence) {
    const auto before = lastSequence();
    noteSample(SampleKind::hbLatency, 0.5F, 5, 4);
    noteSample(SampleKind::netNonOkRate, 0.25F);
    const auto fresh = samplesAfter(before);
    ASSERT_EQ(fresh.size(), 2U);
    EXPECT_EQ(fresh[0].sequence, before + 1);
    EXPECT_EQ(fresh[0].kind, SampleKind::hbLatency);
    EXPECT_EQ(fresh[0].value, 0.5F);
    EXPECT_EQ(fresh[0].sent, 5);
    EXPECT_EQ(fresh[0].answered, 4);
    EXPECT_EQ(fresh[1].kind, SampleKind::netNonOkRate);
    EXPECT_EQ(fresh[1].sent, 0);
    EXPECT_EQ(samplesAfter(before, 1).size(), 1U);
    EXPECT_TRUE(samplesAfter(before + 2).empty());
}

TEST(History, IsBoundedAndForgetsTheOldestFirst) {
    for (int count = 0; count < 20'000; ++count) {
        noteSample(SampleKind::hbLatency, static_cast<float>(count), 100'000, 5);
    }
    const auto all = samplesAfter(0);
    ASSERT_EQ(all.size(), 8192U);
    EXPECT_EQ(all.back().value, 19'999.0F);
    EXPECT_EQ(all.front().sequence + 8191, all.back().sequence);
    EXPECT_EQ(all.back().sent, 255);
    EXPECT_EQ(samplesAfter(all[100].sequence).front().sequence, all[101].sequence);
}

TEST(History, KeepsTheLast64Events) {
    for (int count = 0; count < 100; ++count) {
        noteEvent("event " + std::to_string(count));
    }
    const auto events = recentEvents();
    ASSERT_EQ(events.size(), 64U);
    EXPECT_EQ(events.front().text, "event 36");
    EXPECT_EQ(events.back().text, "event 99");
    EXPECT_EQ(events.front().sequence + 63, events.back().sequence);
}

TEST(History, BoundsAndCleansTheTextOfEvents) {
    noteEvent(std::string(1000, 'x'));
    EXPECT_EQ(recentEvents().back().text, std::string(256, 'x'));
    noteEvent("a\n\xc3z");
    EXPECT_EQ(recentEvents().back().text, "a??z");
}

TEST(History, TakesSeveralWritersAtOnce) {
    const auto before = lastSequence();
    {
        std::jthread one([] {
            for (int count = 0; count < 1000; ++count) {
                noteSample(SampleKind::hbLatency, 1.0F);
            }
        });
        std::jthread other([] {
            for (int count = 0; count < 1000; ++count) {
                noteSample(SampleKind::netNonOkRate, 2.0F);
                noteEvent("both");
            }
        });
    }
    const auto fresh = samplesAfter(before);
    ASSERT_EQ(fresh.size(), 2000U);
    for (std::size_t index = 0; index < fresh.size(); ++index) {
        ASSERT_EQ(fresh[index].sequence, before + 1 + index);
    }
}

}  // namespace
}  // namespace KORA::HA::Daemon::support
