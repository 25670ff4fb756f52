// SPDX-License-Identifier: Apache-2.0
#include "hasupport/logfile/pending_lines.h"

#include <fcntl.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <string>

#include "log_places.h"

namespace KORA::HA::Daemon::support {
namespace {

using koraha::test::lossLine;
using koraha::test::Texts;
using koraha::test::withoutStamps;

constexpr std::uint64_t all = largestSequence;

std::string line(std::uint64_t number, std::size_t filling = 0) {
    return "line " + std::to_string(number) + std::string(filling, 'x') + "\n";
}

/// Both in the memory of this process and in a buffer file.
class PendingLinesTest : public koraha::test::LogPlaces, public testing::WithParamInterface<bool> {
  protected:
    PendingLinesTest() {
        if (GetParam()) {
            lines_ = PendingLines(openBuffer());
        }
        EXPECT_EQ(lines_.outlives(), GetParam());
    }

    std::string nextBatch() {
        std::string batch;
        lines_.begin({}, all, batch);
        return batch;
    }
    std::string drain() {
        std::string text;
        for (std::string batch = nextBatch(); !batch.empty(); batch = nextBatch()) {
            text += batch;
            lines_.advance(batch.size());
        }
        return text;
    }
    std::uint64_t fill(std::size_t bytes, std::size_t filling = 90) {
        std::uint64_t number = 0;
        for (std::size_t sum = 0; sum < bytes; sum += 100) {
            lines_.append(line(++number, filling));
        }
        return number;
    }

    PendingLines lines_;
};

TEST_P(PendingLinesTest, ComeOutWholeOnceAndInOrder) {
    EXPECT_TRUE(lines_.isEmpty());
    EXPECT_EQ(drain(), "");
    std::string expected;
    for (std::uint64_t i = 1; i <= 2000; ++i) {
        lines_.append(line(i, i % 100));
        expected += line(i, i % 100);
    }
    EXPECT_FALSE(lines_.isEmpty());
    EXPECT_EQ(drain(), expected);
    EXPECT_TRUE(lines_.isEmpty());
    EXPECT_EQ(drain(), "");
}

TEST_P(PendingLinesTest, BatchesAreBoundedButTakeOneLineOfAnyLength) {
    fill(100000);
    const std::string batch = nextBatch();
    EXPECT_LE(batch.size(), std::size_t{32} << 10U);
    EXPECT_GT(batch.size(), std::size_t{31} << 10U);
    EXPECT_EQ(batch.back(), '\n');
    lines_.advance(batch.size());
    drain();
    const std::string longest = std::string(lineLimit - 1, 'x') + "\n";
    lines_.append(longest);
    EXPECT_EQ(drain(), longest);
}

TEST_P(PendingLinesTest, StayUntilTheyAreInTheFile) {
    lines_.append(line(1));
    lines_.append(line(2));
    EXPECT_EQ(nextBatch(), "line 1\nline 2\n");
    lines_.append(line(3));
    std::string again;
    lines_.composeFlight(again);
    EXPECT_EQ(again, "line 1\nline 2\n");
    lines_.advance(10);  // one line and a part of the next
    EXPECT_FALSE(lines_.flight());
    EXPECT_EQ(drain(), "line 2\nline 3\n");
}

TEST_P(PendingLinesTest, WriteNoMoreThanWasThereWhenTheFlushBegan) {
    lines_.append(line(1));
    lines_.append(line(2));
    std::string batch;
    lines_.begin({}, 1, batch);
    EXPECT_EQ(batch, "line 1\n");
    lines_.advance(batch.size());
    lines_.begin({}, 1, batch);
    EXPECT_EQ(batch, "");
    EXPECT_EQ(drain(), "line 2\n");
}

TEST_P(PendingLinesTest, TellWhereALineStandsInTheBatch) {
    lines_.append(line(1));
    lines_.append("two\n\tlines\n");
    nextBatch();
    EXPECT_EQ(lines_.flightLineAt(3).begin, 0U);
    EXPECT_EQ(lines_.flightLineAt(3).end, 7U);
    EXPECT_EQ(lines_.flightLineAt(7).begin, 7U);
    EXPECT_EQ(lines_.flightLineAt(12).begin, 7U);
    EXPECT_EQ(lines_.flightLineAt(12).end, 18U);
    EXPECT_EQ(lines_.flightLineAt(18).begin, 18U);
    EXPECT_EQ(lines_.flightLineAt(18).end, 18U);
}

TEST_P(PendingLinesTest, PastTheCeilingTheOldestGoAndTheNextBatchSaysHowMany) {
    const std::uint64_t count = fill(2 * bufferMaxBytes);
    const auto kept = withoutStamps(drain());
    ASSERT_GT(kept.size(), 2U);
    EXPECT_EQ(kept.at(0), lossLine(count - (kept.size() - 1)));
    for (std::size_t i = 1; i < kept.size(); ++i) {
        const std::uint64_t number = count - (kept.size() - 1) + i;
        ASSERT_EQ(kept.at(i), "line " + std::to_string(number) + std::string(90, 'x'));
    }
    EXPECT_GT(kept.size() * 100, bufferMaxBytes / 2);
}

TEST_P(PendingLinesTest, NeverDropWhatIsBeingWritten) {
    const std::uint64_t early = fill(40000);
    const std::string batch = nextBatch();
    const std::uint64_t late = fill(2 * bufferMaxBytes);
    std::string again;
    lines_.composeFlight(again);
    EXPECT_EQ(again, batch);
    lines_.advance(batch.size());

    // What lies beside the batch in its slab stayed too; the gap is told behind it.
    const std::uint64_t written = withoutStamps(batch).size();
    const Texts rest = withoutStamps(drain());
    const std::uint64_t lost = early + late - written - (rest.size() - 1);
    EXPECT_EQ(std::count(rest.begin(), rest.end(), lossLine(lost)), 1);
    EXPECT_EQ(rest.back(), "line " + std::to_string(late) + std::string(90, 'x'));
}

TEST_P(PendingLinesTest, ALongLineFindsRoomInAFullBuffer) {
    fill(2 * bufferMaxBytes);
    const std::string longest = std::string(lineLimit - 1, 'y') + "\n";
    lines_.append(longest);
    const std::string text = drain();
    EXPECT_EQ(text.substr(text.size() - longest.size()), longest);
}

TEST_P(PendingLinesTest, AreNotDroppedForALongLineThatFindsNoRoomAllTheSame) {
    lines_.append(line(1));
    lines_.append(line(2));
    const std::string tooLong = line(3, 2 * smallSlabBytes);
    rlimit before{};
    ASSERT_EQ(::getrlimit(RLIMIT_AS, &before), 0);
    const rlimit none{0, before.rlim_max};  // from here on no memory is to be had
    ASSERT_EQ(::setrlimit(RLIMIT_AS, &none), 0);
    lines_.append(tooLong);
    ASSERT_EQ(::setrlimit(RLIMIT_AS, &before), 0);
    EXPECT_EQ(drain(), line(1) + line(2));
    EXPECT_EQ(lines_.untold(), 1U);
}

TEST_P(PendingLinesTest, TellOfLinesThatCouldNotBePutTogether) {
    lines_.append(line(1));
    lines_.lose(3);
    EXPECT_EQ(drain(), line(1));
    EXPECT_EQ(lines_.untold(), 3U);
    lines_.append("2026-01-01T00:00:00.000000Z next\n");
    EXPECT_EQ(lines_.untold(), 0U);
    EXPECT_EQ(drain(), "2026-01-01T00:00:00.000000Z " + lossLine(3) +
                           "\n2026-01-01T00:00:00.000000Z next\n");
}

TEST_P(PendingLinesTest, ReuseTheirMemoryForEver) {
    std::uint64_t next = 1;
    for (int round = 0; round < 3000; ++round) {
        std::string expected;
        for (int i = 0; i < 7; ++i, ++next) {
            lines_.append(line(next, next * 13 % 200));
            expected += line(next, next * 13 % 200);
        }
        ASSERT_EQ(drain(), expected);
    }
}

INSTANTIATE_TEST_SUITE_P(Memory, PendingLinesTest, testing::Values(false, true),
                         [](const auto& each) { return each.param ? "Outlives" : "Private"; });

class KeptLinesTest : public koraha::test::LogPlaces {
  protected:
    off_t bufferSize() const {
        struct stat info {};
        return ::stat(bufferPath().c_str(), &info) == 0 ? info.st_size : -1;
    }
    static std::string drain(PendingLines& lines) {
        std::string text;
        std::string batch;
        for (lines.begin({}, all, batch); !batch.empty(); lines.begin({}, all, batch)) {
            text += batch;
            lines.advance(batch.size());
        }
        return text;
    }
};

TEST_F(KeptLinesTest, GrowOnlyWhileTheyMustAndGiveBackAfterwards) {
    PendingLines lines(openBuffer());
    for (int i = 0; i < 500; ++i) {
        lines.append(line(1));
    }
    EXPECT_EQ(bufferSize(), static_cast<off_t>(bufferBaseBytes));
    for (int i = 0; i < 10000; ++i) {
        lines.append(line(1, 90));
    }
    EXPECT_GT(bufferSize(), static_cast<off_t>(bufferBaseBytes + 3 * largeSlabBytes));
    EXPECT_LE(bufferSize(), static_cast<off_t>(bufferMaxBytes));
    lines.giveBack();
    EXPECT_GT(bufferSize(), static_cast<off_t>(bufferBaseBytes));
    drain(lines);
    lines.giveBack();
    EXPECT_EQ(bufferSize(), static_cast<off_t>(bufferBaseBytes));
    lines.append(line(2));
    EXPECT_EQ(drain(lines), line(2));
}

TEST_F(KeptLinesTest, AreThereForTheNextOwnerHoweverMany) {
    std::string expected;
    {
        PendingLines lines(openBuffer());
        for (std::uint64_t i = 1; i <= 9000; ++i) {
            lines.append(line(i, i % 300));
            expected += line(i, i % 300);
        }
    }
    PendingLines next(openBuffer());
    next.append(line(9001));
    EXPECT_EQ(drain(next), expected + line(9001));
}

TEST_F(KeptLinesTest, KeepWhatIsOnItsWay) {
    const FileMark mark{11, 22, 33};
    {
        PendingLines lines(openBuffer());
        lines.append(line(1));
        std::string batch;
        lines.begin(mark, all, batch);
        lines.append(line(2));
    }
    PendingLines next(openBuffer());
    ASSERT_TRUE(next.flight());
    EXPECT_EQ(next.flight()->mark, mark);
    std::string batch;
    next.composeFlight(batch);
    EXPECT_EQ(batch, line(1));
    next.advance(batch.size());
    EXPECT_EQ(drain(next), line(2));
}

TEST_F(KeptLinesTest, AnAbsurdNumberInTheBufferCostsNoLineOfTheNextOwners) {
    {
        auto buffer = openBuffer();
        BufferHeadWriter head(buffer.head());
        head.begin();
        head.setProgress({largestLeftSequence - 1, std::nullopt});
        putRecord(buffer.slab(0), largestLeftSequence, line(1));
    }
    {
        PendingLines next(openBuffer());
        EXPECT_EQ(drain(next), line(1));
        next.append(line(2));
    }
    PendingLines third(openBuffer());
    third.append(line(3));
    EXPECT_EQ(drain(third), line(2) + line(3));
}

TEST_F(KeptLinesTest, GoOnInTheirOwnMemoryWhenTheFileIsCutUnderTheMap) {
    for (const off_t size : {0, 4096, 40000}) {
        PendingLines lines(openBuffer());
        drain(lines);
        lines.append(line(1));
        ASSERT_EQ(::truncate(bufferPath().c_str(), size), 0);
        lines.append("2026-01-01T00:00:00.000000Z after\n");
        EXPECT_FALSE(lines.outlives());
        EXPECT_EQ(drain(lines), "2026-01-01T00:00:00.000000Z " + lossLine(1) +
                                    "\n2026-01-01T00:00:00.000000Z after\n");
    }
}

TEST_F(KeptLinesTest, LookAtTheFileAgainWhenTheClockWentOnOrBack) {
    const PendingLines::WallClock::time_point start(std::chrono::hours(24));
    const Stamp stamp = LineStamp().at(start);
    for (const auto step : {std::chrono::milliseconds(11), std::chrono::milliseconds(-1)}) {
        PendingLines lines(openBuffer());
        drain(lines);
        lines.append(stamp, "before", start);
        EXPECT_EQ(drain(lines), std::string(textOf(stamp)) + "before\n");
        ASSERT_EQ(::truncate(bufferPath().c_str(), 0), 0);
        lines.append(stamp, "after", start + step);
        EXPECT_FALSE(lines.outlives());
        EXPECT_EQ(drain(lines), std::string(textOf(stamp)) + "after\n");
    }
}

TEST_F(KeptLinesTest, SurviveACutAtAnyStep) {
    PendingLines lines(openBuffer());
    lines.append(line(1));
    std::string batch;
    lines.begin({}, all, batch);
    ASSERT_EQ(::truncate(bufferPath().c_str(), 0), 0);
    lines.advance(batch.size());
    EXPECT_TRUE(lines.isEmpty());

    PendingLines second(openBuffer());
    second.append(line(1));
    ASSERT_EQ(::truncate(bufferPath().c_str(), 0), 0);
    second.begin({}, all, batch);
    EXPECT_EQ(batch, "");
}

}  // namespace
}  // namespace KORA::HA::Daemon::support
