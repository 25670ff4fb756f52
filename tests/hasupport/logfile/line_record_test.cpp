// SPDX-License-Identifier: Apache-2.0
#include "hasupport/logfile/line_record.h"

#include <gtest/gtest.h>

#include <cstring>
#include <string>
#include <vector>

#include "hasupport/logfile/checksum.h"

namespace KORA::HA::Daemon::support {
namespace {

class LineRecordTest : public testing::Test {
  protected:
    std::size_t put(std::uint64_t sequence, const std::string& text) {
        const std::size_t at = used_;
        putRecord(memory_.data() + at, sequence, text);
        used_ += recordSize(text.size());
        return at;
    }
    std::string_view bytes() const { return {memory_.data(), memory_.size()}; }

    std::vector<std::string> waiting() const {
        std::vector<std::string> texts;
        LineRecord record;
        for (std::size_t at = 0; nextRecord(bytes(), at, record); at = record.end) {
            if (record.waiting) {
                texts.emplace_back(record.text);
            }
        }
        return texts;
    }

    std::vector<char> memory_ = std::vector<char>(1024);
    std::size_t used_ = 0;
};

using Texts = std::vector<std::string>;

TEST_F(LineRecordTest, FindsWhatWasPut) {
    put(7, "one\n");
    put(8, "two\n\twith more\n");
    put(9, "\n");
    EXPECT_EQ(waiting(), (Texts{"one\n", "two\n\twith more\n", "\n"}));
    LineRecord record;
    ASSERT_TRUE(nextRecord(bytes(), 0, record));
    EXPECT_EQ(record.sequence, 7U);
    EXPECT_EQ(record.begin, 0U);
    EXPECT_EQ(record.end, 32U);
}

TEST_F(LineRecordTest, IsTheSameInPiecesAsInOne) {
    for (std::size_t size = 0; size < 40; ++size) {
        const std::string text(size, 't');
        const Stamp stamp = LineStamp().at({});
        std::vector<char> pieces(memory_.size());
        putRecord(memory_.data(), 5, std::string(textOf(stamp)) + text + "\n");
        putRecord(pieces.data(), 5, stamp, text);
        EXPECT_EQ(memory_, pieces) << size;
    }
}

TEST(Checksum, TakesTheLastBytesAsTheyAreRead) {
    for (const std::string before : {"", "1234567890"}) {
        EXPECT_EQ(lastBytes(before, 0), 0U);
        EXPECT_EQ(lastBytes(before + "a", 1), 0x61U);
        EXPECT_EQ(lastBytes(before + "\xff\1a", 3), 0xff0161U);
        EXPECT_EQ(lastBytes(before + "abcdefg", 7), 0x61626364656667U);
    }
}

TEST_F(LineRecordTest, TellsRetiredOnes) {
    const auto first = put(1, "one\n");
    put(2, "two\n");
    retireRecord(memory_.data() + first);
    EXPECT_EQ(waiting(), Texts{"two\n"});
}

TEST_F(LineRecordTest, SkipsADamagedOneWhereverTheDamageIs) {
    put(1, "one\n");
    const auto second = put(2, "the second one\n");
    const auto third = put(3, "three\n");
    const auto original = memory_;
    for (std::size_t at = second; at < second + recordHead + 15; ++at) {
        for (const int bit : {0, 3, 7}) {
            memory_ = original;
            memory_[at] = static_cast<char>(memory_[at] ^ (1 << bit));
            EXPECT_EQ(waiting(), (Texts{"one\n", "three\n"})) << at << " bit " << bit;
        }
    }
    memory_ = original;
    std::memset(memory_.data() + second, 0xff, third - second);
    EXPECT_EQ(waiting(), (Texts{"one\n", "three\n"}));
}

TEST_F(LineRecordTest, DoesNotBelieveALengthBeyondTheBuffer) {
    put(1, "one\n");
    const std::uint32_t absurd = 0xfffffff0U;
    std::memcpy(memory_.data() + 4, &absurd, sizeof absurd);
    EXPECT_EQ(waiting(), Texts{});
}

TEST_F(LineRecordTest, TakesNoRecordThatIsCutOff) {
    const std::string text(100, 'x');
    put(1, text + "\n");
    LineRecord record;
    for (std::size_t size = 0; size < recordHead + text.size() + 1; ++size) {
        EXPECT_FALSE(nextRecord(bytes().substr(0, size), 0, record)) << size;
    }
    EXPECT_TRUE(nextRecord(bytes().substr(0, recordHead + text.size() + 1), 0, record));
}

TEST_F(LineRecordTest, TakesOnlyTextsThatAreFormattedLines) {
    for (const std::string text : {"", "no end", "two\nlines\n", "bell\a\n", "tab\tinside\n",
                                   "\tbegins with a tab\n", "del\x7f\n"}) {
        memory_.assign(memory_.size(), 0);
        used_ = 0;
        put(1, text);
        EXPECT_EQ(waiting(), Texts{}) << text;
    }
    put(0, "number 0\n");
    put(largestSequence + 1, "absurd number\n");
    EXPECT_EQ(waiting(), Texts{});
}

}  // namespace
}  // namespace KORA::HA::Daemon::support
