// SPDX-License-Identifier: Apache-2.0
#include "hasupport/net/echo_burst.h"

#include <gtest/gtest.h>

#include <optional>

namespace {

using namespace std::chrono_literals;
using KORA::HA::Daemon::support::EchoBurst;
using KORA::HA::Daemon::support::EchoReply;
using KORA::HA::Daemon::support::Moment;
using KORA::HA::Daemon::support::SteadyClock;

constexpr auto wallStart = 1'000'000h;

/// A burst on a clock that the test moves; every reply's kernel stamp is exact.
class Burst : public ::testing::Test {
  protected:
    Moment at(std::chrono::nanoseconds offset) const {
        return {start_ + offset, wallStart + offset + step_};
    }

    std::uint16_t send(std::chrono::nanoseconds when, std::chrono::nanoseconds took = 10us) {
        const std::uint16_t sequence = burst_.nextSequence();
        burst_.sent(at(when), at(when + took));
        return sequence;
    }

    void answer(std::uint16_t sequence, std::chrono::nanoseconds arrived,
                std::chrono::nanoseconds noticed) {
        burst_.answered({sequence, at(noticed), at(arrived).wall});
    }
    void answer(std::uint16_t sequence, std::chrono::nanoseconds arrived) {
        answer(sequence, arrived, arrived);
    }

    std::optional<float> median(std::chrono::nanoseconds when = 1500ms) const {
        return burst_.verdict(start_ + when).medianMs;
    }

    SteadyClock::time_point start_{100h};
    std::chrono::nanoseconds step_{0};  // how far the wall clock was moved
    EchoBurst burst_;
};

TEST_F(Burst, SendsFiveTwentyMillisecondsApart) {
    for (int count = 0; count < 5; ++count) {
        ASSERT_TRUE(burst_.nextSend());
        send(count * 20ms, 0ms);
        if (count < 4) {
            EXPECT_EQ(*burst_.nextSend(), start_ + (count + 1) * 20ms);
        }
    }
    EXPECT_FALSE(burst_.nextSend());
    EXPECT_FALSE(burst_.complete());
}

TEST_F(Burst, IsCompleteWithTheLastAnswer) {
    for (int count = 0; count < 5; ++count) {
        answer(send(count * 20ms), count * 20ms + 1ms);
    }
    EXPECT_TRUE(burst_.complete());
    EXPECT_FLOAT_EQ(median().value(), 1.0F);
    EXPECT_EQ(burst_.verdict(start_).sent, 5U);
    EXPECT_EQ(burst_.verdict(start_).answered, 5U);
}

TEST_F(Burst, TakesTheMedianWithLostOnesAsInfinite) {
    answer(send(0ms), 5ms);
    answer(send(20ms), 29ms);
    send(40ms);
    answer(send(60ms), 67ms);
    send(80ms);
    EXPECT_FLOAT_EQ(median().value(), 9.0F);  // 5, 7, 9, lost, lost
    EXPECT_FALSE(burst_.complete());
}

TEST_F(Burst, HasNoMedianWhenThreeOfFiveAreLost) {
    answer(send(0ms), 5ms);
    answer(send(20ms), 29ms);
    send(40ms);
    send(60ms);
    send(80ms);
    EXPECT_FALSE(median());
}

TEST_F(Burst, HasNoMedianWhenNothingWasSent) {
    burst_.notSent(start_);
    EXPECT_FALSE(median());
    EXPECT_EQ(*burst_.nextSend(), start_ + 20ms);
}

TEST_F(Burst, HasNoMedianWhenTheLinkWentDownAfterTwoGoodEchoes) {
    answer(send(0ms), 1ms);
    answer(send(20ms), 21ms);
    burst_.notSent(start_ + 40ms);
    burst_.notSent(start_ + 60ms);
    burst_.notSent(start_ + 80ms);
    EXPECT_FALSE(median());
    EXPECT_FALSE(burst_.complete()) << "it may come back";
    answer(send(100ms), 101ms);
    EXPECT_FLOAT_EQ(median().value(), 1.0F) << "three of five";
    answer(send(120ms), 127ms);
    answer(send(140ms), 147ms);
    EXPECT_FLOAT_EQ(median().value(), 1.0F);
    EXPECT_TRUE(burst_.complete());
}

TEST_F(Burst, CountsTheKernelsStampNotOurOwnDelay) {
    for (int count = 0; count < 5; ++count) {
        answer(send(count * 20ms), count * 20ms + 2ms, 700ms);
    }
    EXPECT_FLOAT_EQ(median().value(), 2.0F);
    EXPECT_TRUE(burst_.complete());
}

TEST_F(Burst, RepeatsAnEchoThatWasSentLate) {
    answer(send(0ms, 50ms), 51ms);  // the thread did not run between clock and send
    for (int count = 1; count <= 4; ++count) {
        answer(send(count * 100ms), count * 100ms + 1ms);
    }
    EXPECT_TRUE(burst_.nextSend()) << "only four say something";
    answer(send(500ms), 503ms);
    EXPECT_TRUE(burst_.complete());
    EXPECT_FLOAT_EQ(median().value(), 1.0F);
    EXPECT_EQ(burst_.verdict(start_).sent, 6U);
}

TEST_F(Burst, UsesLateEchoesAsUpperBoundsWhereBetterOnesAreMissing) {
    for (std::size_t count = 0; count < EchoBurst::most; ++count) {
        ASSERT_TRUE(burst_.nextSend());
        const auto when = 20ms * static_cast<int>(count);
        answer(send(when, 5ms), when + 6ms);
    }
    EXPECT_FALSE(burst_.nextSend());
    EXPECT_TRUE(burst_.complete());
    EXPECT_FLOAT_EQ(median().value(), 6.0F);
}

TEST_F(Burst, AStepOfTheWallClockSpoilsTheStampAndTheEchoIsRepeated) {
    const auto first = send(0ms);
    step_ = -3600s;
    answer(first, 3ms);
    for (int count = 1; count <= 4; ++count) {
        answer(send(count * 20ms), count * 20ms + 1ms);
    }
    EXPECT_TRUE(burst_.nextSend());
    EXPECT_FLOAT_EQ(median().value(), 1.0F);  // 1, 1, 1, 1, and 3 by the other clock
}

TEST_F(Burst, DoesWithoutStampsWhereTheKernelGivesNone) {
    for (int count = 0; count < 5; ++count) {
        burst_.answered({send(count * 20ms), at(count * 20ms + 4ms), std::nullopt});
    }
    EXPECT_TRUE(burst_.complete());
    EXPECT_FLOAT_EQ(median().value(), 4.0F);
}

TEST_F(Burst, PassesOverDuplicatesAndUnknownNumbers) {
    const auto first = send(0ms);
    answer(first, 1ms);
    answer(first, 900ms);
    answer(0, 1ms);
    answer(2, 1ms);
    answer(60000, 1ms);
    EXPECT_EQ(burst_.verdict(start_).answered, 1U);
    EXPECT_FLOAT_EQ(median().value(), 1.0F);
}

TEST_F(Burst, AnEchoWithoutFairTimeIsNotLost) {
    answer(send(0ms), 1ms);
    send(1450ms);  // this thread slept until then
    EXPECT_FLOAT_EQ(median(1500ms).value(), 1.0F);
    EXPECT_FALSE(median(1800ms)) << "with fair time it is: one of two is no majority";
}

TEST_F(Burst, NeverTakesMoreThanItHasRoomFor) {
    for (int count = 0; count < 40; ++count) {
        burst_.sent(at(0ms), at(100ms));
    }
    EXPECT_EQ(burst_.verdict(start_).sent, EchoBurst::most);
    EXPECT_FALSE(burst_.nextSend());
}

}  // namespace
