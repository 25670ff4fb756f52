// SPDX-License-Identifier: Apache-2.0
#include "hasupport/logfile/buffer_head.h"

#include <gtest/gtest.h>

#include <cstring>
#include <vector>

#include "hasupport/logfile/buffer_layout.h"
#include "hasupport/logfile/line_record.h"

namespace KORA::HA::Daemon::support {
namespace {

class BufferHeadTest : public testing::Test {
  protected:
    BufferHeadTest() { writer_.begin(); }
    BufferHead parse() const { return parseBufferHead({memory_.data(), memory_.size()}); }

    std::vector<char> memory_ = std::vector<char>(bufferHeadBytes);
    BufferHeadWriter writer_{memory_.data()};
};

const BufferProgress first{5, Flight{9, {1, 2, 3}}};
const BufferProgress second{9, std::nullopt};

TEST_F(BufferHeadTest, BeginsWithoutProgress) {
    EXPECT_EQ(parse().version, bufferVersion);
    EXPECT_EQ(parse().progress, std::nullopt);
    EXPECT_EQ(parse().issued, 0U);
}

TEST_F(BufferHeadTest, KeepsTheNewestProgress) {
    writer_.setProgress(first);
    EXPECT_EQ(parse().progress, first);
    writer_.setProgress(second);
    EXPECT_EQ(parse().progress, second);
    for (std::uint64_t i = 10; i < 20; ++i) {
        writer_.setProgress({i, std::nullopt});
        EXPECT_EQ(parse().progress->consumed, i);
    }
    writer_.setIssued(77);
    EXPECT_EQ(parse().issued, 77U);
}

TEST_F(BufferHeadTest, GoesOnWhereAnEarlierWriterEnded) {
    writer_.setProgress(first);
    writer_.setProgress(second);
    BufferHeadWriter next(memory_.data(), parse().generation);
    next.setProgress({10, std::nullopt});
    EXPECT_EQ(parse().progress->consumed, 10U);
}

// Whatever part of a change had been stored when the process was killed.
TEST_F(BufferHeadTest, ATornChangeLeavesTheProgressBeforeIt) {
    writer_.setProgress({1, std::nullopt});
    writer_.setProgress(first);
    const auto before = memory_;
    writer_.setProgress(second);
    const auto after = memory_;
    std::size_t differing = 0;
    for (std::size_t cut = 0; cut < memory_.size(); ++cut) {
        differing += before[cut] != after[cut] ? 1U : 0U;
        memory_ = before;
        std::memcpy(memory_.data(), after.data(), cut);
        EXPECT_TRUE(parse().progress == first || parse().progress == second) << cut;
        memory_ = after;
        std::memcpy(memory_.data(), before.data(), cut);
        EXPECT_TRUE(parse().progress == first || parse().progress == second) << cut;
    }
    EXPECT_GT(differing, 0U);
}

TEST_F(BufferHeadTest, BelievesNoDamagedSlot) {
    writer_.setProgress(first);
    const auto original = memory_;
    for (std::size_t at = 64; at < 192; ++at) {
        memory_ = original;
        memory_[at] = static_cast<char>(memory_[at] ^ 0x10);
        EXPECT_TRUE(parse().progress == std::nullopt || parse().progress == first) << at;
    }
}

TEST_F(BufferHeadTest, BelievesNoAbsurdNumbers) {
    writer_.setProgress({largestLeftSequence + 1, std::nullopt});
    EXPECT_EQ(parse().progress, std::nullopt);
    writer_.setProgress({5, Flight{5, {}}});
    EXPECT_EQ(parse().progress, std::nullopt);
    writer_.setProgress({5, Flight{largestLeftSequence + 1, {}}});
    EXPECT_EQ(parse().progress, std::nullopt);
    writer_.setIssued(largestLeftSequence + 1);
    EXPECT_EQ(parse().issued, 0U);
    BufferHeadWriter last(memory_.data(), ~std::uint64_t{0} - 1);
    last.setProgress(second);
    EXPECT_EQ(parse().progress, std::nullopt);
}

TEST_F(BufferHeadTest, KnowsOtherVersionsAndOtherFiles) {
    writer_.setProgress(first);
    const std::uint32_t other = bufferVersion + 1;
    std::memcpy(memory_.data() + 8, &other, sizeof other);
    EXPECT_EQ(parse().version, other);
    EXPECT_EQ(parse().progress, std::nullopt);
    memory_[0] = 'X';
    EXPECT_EQ(parse().version, 0U);
    EXPECT_EQ(parseBufferHead("KHALINES").version, 0U);
    EXPECT_EQ(parseBufferHead({}).version, 0U);
}

}  // namespace
}  // namespace KORA::HA::Daemon::support
