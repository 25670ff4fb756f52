// SPDX-License-Identifier: Apache-2.0
#include "hasupport/logfile/leftover_lines.h"

#include <gtest/gtest.h>

#include <array>
#include <string>
#include <vector>

#include "hasupport/logfile/line_record.h"

namespace KORA::HA::Daemon::support {
namespace {

class LeftoverLinesTest : public testing::Test {
  protected:
    LeftoverLinesTest() : slabs_(slabCount) {
        for (std::size_t i = 0; i < 3; ++i) {
            slabs_.at(i).assign(smallSlabBytes, '\0');
        }
        writer_.begin();
    }

    void put(std::size_t slab, std::uint64_t sequence, const std::string& text = "text\n") {
        putRecord(slabs_.at(slab).data() + used_.at(slab), sequence, text);
        used_.at(slab) += recordSize(text.size());
    }

    LeftoverLines parse() const {
        const std::vector<std::string_view> views(slabs_.begin(), slabs_.end());
        return parseLeftoverLines(head_, views);
    }

    std::string head_ = std::string(bufferHeadBytes, '\0');
    BufferHeadWriter writer_{head_.data()};
    std::vector<std::string> slabs_;
    std::array<std::size_t, slabCount> used_{};
};

TEST_F(LeftoverLinesTest, OfAnEmptyBufferAreNone) {
    writer_.setProgress({7, std::nullopt});
    const auto left = parse();
    EXPECT_EQ(left.count, 0U);
    EXPECT_EQ(left.highest, 7U);
    EXPECT_EQ(left.progress.consumed, 7U);
    EXPECT_EQ(parseLeftoverLines({}, {}).count, 0U);
}

TEST_F(LeftoverLinesTest, PutsSlabsInTheOrderOfTheirLines) {
    writer_.setProgress({4, Flight{6, {1, 2, 3}}});
    put(2, 5);
    put(2, 6);
    put(0, 7);
    put(1, 8);
    put(1, 9);
    const auto left = parse();
    ASSERT_EQ(left.count, 3U);
    EXPECT_EQ(left.order.at(0), 2U);
    EXPECT_EQ(left.order.at(1), 0U);
    EXPECT_EQ(left.order.at(2), 1U);
    EXPECT_EQ(left.slabs.at(2).first, 5U);
    EXPECT_EQ(left.slabs.at(2).last, 6U);
    EXPECT_EQ(left.slabs.at(2).used, used_.at(2));
    EXPECT_EQ(left.highest, 9U);
    EXPECT_EQ(left.progress.flight->through, 6U);
}

TEST_F(LeftoverLinesTest, SkipsWhatIsDoneWith) {
    writer_.setProgress({6, std::nullopt});
    for (std::uint64_t i = 5; i < 9; ++i) {
        put(0, i);
    }
    retireRecord(slabs_.at(0).data() + 2 * recordSize(5));
    const auto left = parse();
    EXPECT_EQ(left.slabs.at(0).first, 8U);
    EXPECT_EQ(left.slabs.at(0).from, 3 * recordSize(5));
}

TEST_F(LeftoverLinesTest, SkipsRemainsOfOlderLinesBehindTheNewOnes) {
    writer_.setProgress({9, std::nullopt});
    for (std::uint64_t i = 5; i < 9; ++i) {
        put(0, i);
    }
    used_.at(0) = 0;
    put(0, 10, "a longer text than before\n");
    const auto left = parse();
    EXPECT_EQ(left.slabs.at(0).first, 10U);
    EXPECT_EQ(left.slabs.at(0).last, 10U);
    EXPECT_EQ(left.slabs.at(0).used, used_.at(0));
}

TEST_F(LeftoverLinesTest, FindsWholeLinesBehindADamagedOne) {
    writer_.setProgress({0, std::nullopt});
    put(0, 1);
    put(0, 2);
    put(0, 3);
    slabs_.at(0).at(recordSize(5) + 9) = 'X';
    const auto left = parse();
    EXPECT_EQ(left.slabs.at(0).first, 1U);
    EXPECT_EQ(left.slabs.at(0).last, 3U);
}

TEST_F(LeftoverLinesTest, FindsTheLinesWhereTheHeadIsDamaged) {
    put(1, 21);
    put(1, 22);
    head_.assign(bufferHeadBytes, '\xff');
    const auto left = parse();
    EXPECT_EQ(left.head.version, 0U);
    ASSERT_EQ(left.count, 1U);
    EXPECT_EQ(left.progress.consumed, 20U);
    EXPECT_EQ(left.highest, 22U);
}

TEST_F(LeftoverLinesTest, GivesNoNumberAgain) {
    writer_.setProgress({3, Flight{30, {}}});
    EXPECT_EQ(parse().highest, 30U);
    writer_.setIssued(40);
    EXPECT_EQ(parse().highest, 40U);
    put(0, 50);
    retireRecord(slabs_.at(0).data());
    EXPECT_EQ(parse().highest, 50U);
    EXPECT_EQ(parse().count, 0U);
}

TEST_F(LeftoverLinesTest, TakesNoAbsurdNumber) {
    writer_.setProgress({3, std::nullopt});
    put(0, 4);
    put(0, largestLeftSequence + 1);
    put(0, 5);
    const auto left = parse();
    EXPECT_EQ(left.slabs.at(0).first, 4U);
    EXPECT_EQ(left.slabs.at(0).last, 5U);
    EXPECT_EQ(left.highest, 5U);
}

}  // namespace
}  // namespace KORA::HA::Daemon::support
