// SPDX-License-Identifier: Apache-2.0
// What the replay says is compared with the monitor itself, written down once more and run through
// every sequence of judgements there is.
#include "tools/tune/replay.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <functional>
#include <random>

namespace {

using korahamonctl::tune::Episode;
using korahamonctl::tune::Judging;
using korahamonctl::tune::replay;
using korahamonctl::tune::Sample;
using ::testing::IsEmpty;
using ::testing::SizeIs;

struct Monitor {
    float last = 0.0F;
    int over = 0;
    bool notified = false;

    bool judge(float sample, const Judging& judging) {
        if (sample == last) {
            return false;
        }
        last = sample;
        if (static_cast<float>(judging.threshold) > sample) {
            over = 0;
            notified = false;
            return false;
        }
        if (notified || judging.tolerance > over++) {
            return false;
        }
        notified = true;
        return true;
    }
};

float latest(const std::vector<Sample>& samples, std::int64_t now) {
    float value = 0.0F;
    for (const Sample& sample : samples) {
        value = sample.atMs <= now ? static_cast<float>(sample.value) : value;
    }
    return value;
}

using Times = std::vector<std::int64_t>;

// Hands the times of all notifications to `take`, for every sequence of judgements.
void forEverySchedule(const std::vector<Sample>& samples, const Judging& judging, std::int64_t end,
                      const std::function<void(const Times&)>& take) {
    Times told;
    const std::function<void(Monitor, std::int64_t)> goOn = [&](Monitor monitor, std::int64_t now) {
        if (now > end) {
            take(told);
            return;
        }
        const bool notifies = monitor.judge(latest(samples, now), judging);
        if (notifies) {
            told.push_back(now);
        }
        for (auto gap = judging.shortestGapMs; gap <= judging.longestGapMs; ++gap) {
            goOn(monitor, now + gap);
        }
        if (notifies) {
            told.pop_back();
        }
    };
    const std::int64_t start = samples.front().atMs;
    for (std::int64_t phase = 0; phase < judging.longestGapMs; ++phase) {
        goOn({}, start + phase);
    }
}

struct Truth {
    int least = 1000;
    int most = 0;
    std::int64_t earliest = INT64_MAX;
    std::int64_t latest = INT64_MIN;
};

void expectTrue(const std::vector<Sample>& samples, const Judging& judging, std::int64_t end) {
    const std::vector<Episode> episodes = replay(samples, judging, end);
    std::vector<Truth> truths(episodes.size());
    forEverySchedule(samples, judging, end, [&](const Times& told) {
        std::size_t placed = 0;
        for (std::size_t i = 0; i < episodes.size(); ++i) {
            // An episode ends with the last judgement of the sample that ends it.
            const std::int64_t until = i + 1 < episodes.size() ? episodes[i + 1].fromMs : end + 1;
            Times mine;
            std::copy_if(told.begin(), told.end(), std::back_inserter(mine),
                         [&](std::int64_t at) { return at >= episodes[i].fromMs && at < until; });
            placed += mine.size();
            truths[i].least = std::min(truths[i].least, static_cast<int>(mine.size()));
            truths[i].most = std::max(truths[i].most, static_cast<int>(mine.size()));
            if (!mine.empty()) {
                truths[i].earliest = std::min(truths[i].earliest, mine.front());
                truths[i].latest = std::max(truths[i].latest, mine.front());
            }
        }
        ASSERT_EQ(placed, told.size()) << "a notification outside of all episodes";
    });
    for (std::size_t i = 0; i < episodes.size(); ++i) {
        EXPECT_EQ(episodes[i].least, truths[i].least);
        EXPECT_EQ(episodes[i].most, truths[i].most);
        if (truths[i].most > 0) {
            EXPECT_EQ(episodes[i].earliestMs, truths[i].earliest);
            EXPECT_EQ(episodes[i].latestMs, truths[i].latest);
        }
    }
}

std::vector<Sample> series(std::initializer_list<double> values, std::int64_t each,
                           std::int64_t start = 1000) {
    std::vector<Sample> samples;
    for (const double value : values) {
        samples.push_back({start + each * static_cast<std::int64_t>(samples.size()), value});
    }
    return samples;
}

constexpr Judging everyFour = {100, 3, 4, 4};

TEST(Replay, IsCertainWhenEveryPhaseSeesEnough) {
    const auto samples = series({20, 150, 160, 170, 180, 190, 20, 21, 22}, 4);
    const auto episodes = replay(samples, everyFour, 1036);
    ASSERT_THAT(episodes, SizeIs(1));
    EXPECT_EQ(episodes[0].least, 1);
    EXPECT_EQ(episodes[0].most, 1);
    EXPECT_EQ(episodes[0].fromMs, 1004);
    EXPECT_EQ(episodes[0].earliestMs, 1016);
    EXPECT_EQ(episodes[0].latestMs, 1019);
    EXPECT_EQ(episodes[0].overSamples, 5U);
    EXPECT_EQ(episodes[0].worst, 190);
    EXPECT_FALSE(episodes[0].goesOn);
    expectTrue(samples, everyFour, 1036);
}

TEST(Replay, DependsOnThePhaseWhenOnlySomeSeeEnough) {
    // Samples twice as fast as judgements: seven over the threshold are four or three that count.
    const auto samples = series({20, 110, 120, 130, 140, 150, 160, 170, 20, 21, 22, 23}, 2);
    const auto episodes = replay(samples, everyFour, 1026);
    ASSERT_THAT(episodes, SizeIs(1));
    EXPECT_EQ(episodes[0].least, 0);
    EXPECT_EQ(episodes[0].most, 1);
    expectTrue(samples, everyFour, 1026);
}

TEST(Replay, KnowsWhatIsToleratedInAnyCase) {
    const auto samples = series({20, 110, 120, 130, 20, 21, 22}, 4);
    const auto episodes = replay(samples, everyFour, 1030);
    ASSERT_THAT(episodes, SizeIs(1));
    EXPECT_EQ(episodes[0].most, 0);
    EXPECT_THAT(replay(series({20, 21, 22, 99.999}, 4), everyFour, 1030), IsEmpty());
    EXPECT_THAT(replay({}, everyFour, 1030), IsEmpty());
}

TEST(Replay, DoesNotCountWhatIsNotFresh) {
    const auto frozen = series({20, 150, 150, 150, 150, 150, 150, 20, 21, 22}, 4);
    ASSERT_THAT(replay(frozen, everyFour, 1040), SizeIs(1));
    EXPECT_EQ(replay(frozen, everyFour, 1040)[0].most, 0);
    expectTrue(frozen, everyFour, 1040);
    // Without a further sample, none is judged twice.
    const auto alone = series({150}, 4);
    EXPECT_EQ(replay(alone, {100, 0, 4, 4}, 5000).at(0).most, 1);
    EXPECT_EQ(replay(alone, {100, 1, 4, 4}, 5000).at(0).most, 0);
    EXPECT_TRUE(replay(alone, {100, 1, 4, 4}, 5000).at(0).goesOn);
}

TEST(Replay, CountsAValueThatAlternates) {
    // Only judgements of every other sample see nothing but what is over.
    const auto samples = series({150, 20, 160, 21, 170, 22, 180, 23, 190, 24, 25, 26, 27}, 2);
    const auto episodes = replay(samples, everyFour, 1030);
    ASSERT_THAT(episodes, SizeIs(1));
    EXPECT_EQ(episodes[0].least, 0);
    EXPECT_EQ(episodes[0].most, 1);
    expectTrue(samples, everyFour, 1030);
}

TEST(Replay, TellsEpisodesApart) {
    const auto samples =
        series({150, 160, 20, 21, 22, 23, 24, 170, 180, 25, 26, 27, 28, 29, 30}, 4);
    const Judging one = {100, 1, 4, 4};
    ASSERT_THAT(replay(samples, one, 1060), SizeIs(2));
    expectTrue(samples, one, 1060);
}

TEST(Replay, TakesWhatSixDecimalsCannotTell) {
    // 0.5 may be 0.5 or a little more or less, and two of them may differ.
    const auto samples = series({0.1, 0.5, 0.5, 0.2, 0.3, 0.4}, 4);
    const auto episodes = replay(samples, {0.5, 1, 4, 4}, 1030);
    ASSERT_THAT(episodes, SizeIs(1));
    EXPECT_EQ(episodes[0].least, 0);
    EXPECT_EQ(episodes[0].most, 1);
    // From 16 on, six decimals tell every number of single precision.
    const auto exact = series({20, 100, 20, 21, 22}, 4);
    EXPECT_EQ(replay(exact, {100, 0, 4, 4}, 1030).at(0).least, 1);
}

TEST(Replay, TakesNoNumberForAViolationThatIsAlwaysFresh) {
    const auto samples = series({NAN, NAN, NAN, NAN, 20, 21, 22}, 4);
    EXPECT_EQ(replay(samples, everyFour, 1030).at(0).least, 1);
    const auto endless = series({INFINITY, INFINITY, INFINITY, INFINITY, INFINITY, 20, 21}, 4);
    EXPECT_EQ(replay(endless, everyFour, 1030).at(0).most, 0);
}

TEST(Replay, IsExactForEveryPhaseOfRandomSeries) {
    std::mt19937 random(20261121);
    const auto upTo = [&](unsigned most) { return static_cast<int>(random() % (most + 1U)); };
    int depends = 0;
    int certain = 0;
    for (int round = 0; round < 300; ++round) {
        std::vector<Sample> samples;
        std::int64_t at = 1000;
        for (int i = 0; i < 30; ++i) {
            at += 1 + upTo(7);
            samples.push_back({at, upTo(9) < 6 ? 100.0 + upTo(3) : 20.0 + upTo(1)});
        }
        const std::int64_t gap = 1 + upTo(11);
        const Judging judging = {100, upTo(3), gap, gap};
        expectTrue(samples, judging, at + upTo(40));
        for (const Episode& episode : replay(samples, judging, at)) {
            depends += episode.least != episode.most ? 1 : 0;
            certain += episode.least > 0 ? 1 : 0;
        }
        ASSERT_FALSE(HasFailure()) << "round " << round;
    }
    EXPECT_GT(depends, 30);
    EXPECT_GT(certain, 30);
}

TEST(Replay, IsExactForGapsThatVary) {
    std::mt19937 random(7);
    const auto upTo = [&](unsigned most) { return static_cast<int>(random() % (most + 1U)); };
    for (int round = 0; round < 60; ++round) {
        std::vector<Sample> samples;
        std::int64_t at = 1000;
        for (int i = 0; i < 7; ++i) {
            at += 1 + upTo(4);
            samples.push_back({at, upTo(9) < 6 ? 100.0 + upTo(5) : 20.0});
        }
        const std::int64_t gap = 2 + upTo(3);
        expectTrue(samples, {100, upTo(2), gap, gap + 1 + upTo(1)}, at + 4);
        ASSERT_FALSE(HasFailure()) << "round " << round;
    }
}

TEST(Replay, IsQuickForLongTimes) {
    std::vector<Sample> samples;
    for (int i = 0; i < 20'000; ++i) {
        samples.push_back(
            {std::int64_t{i} * 15'083, i % 997 < 30 ? 150.0 + i : 0.3 + 0.1 * (i % 7)});
    }
    // A gap of days without samples, and gaps of a millisecond, must not take as many steps.
    samples.push_back({samples.back().atMs + 86'400'000 * 30L, 20});
    EXPECT_THAT(replay(samples, {100, 3, 75'000, 100'500}, samples.back().atMs), SizeIs(21));
    samples.resize(1000);
    EXPECT_THAT(replay(samples, {100, 3, 1, 100}, samples.back().atMs + 86'400'000 * 30L),
                SizeIs(2));
}

}  // namespace
