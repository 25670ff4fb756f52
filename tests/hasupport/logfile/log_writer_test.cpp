// SPDX-License-Identifier: Apache-2.0
#include "hasupport/logfile/log_writer.h"

#include <sys/mount.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <mutex>
#include <utility>

#include "log_places.h"
#include "tests/support/in_namespace.h"

namespace KORA::HA::Daemon::support {
namespace {

// What an earlier process left when it was killed while it wrote: the buffer knows of a batch, and
// the file holds as much of it as had arrived.
class LogWriterTest : public koraha::test::LogPlaces {
  protected:
    static std::string line(int number) {
        return "2026-01-01T00:00:00.00000" + std::to_string(number) + "Z line\n\tgoes on\n";
    }

    void addToFile(const std::string& text) const {
        ASSERT_EQ(file_.openToAppend().append(text).error, 0);
    }

    /// Lines 1 to 3 are on their way to the file as it is now, line 4 waits.
    std::string leaveBatch() const {
        const auto mark = file_.openToAppend().mark();
        EXPECT_TRUE(mark);
        PendingLines lines(openBuffer());
        for (int number = 1; number <= 3; ++number) {
            lines.append(line(number));
        }
        std::string batch;
        lines.begin(mark.value_or(FileMark{}), largestSequence, batch);
        lines.append(line(4));
        return batch;
    }

    int write() const {
        PendingLines lines(openBuffer());
        std::mutex mutex;
        const int error = LogWriter(file_, lines, mutex).write();
        EXPECT_EQ(lines.isEmpty(), error == 0);
        return error;
    }

    LogFile file_{logDirectory(), "/test.log"};
    const std::string allLines_ = line(1) + line(2) + line(3) + line(4);
};

TEST_F(LogWriterTest, WritesTheRestOfABatchWhereverItsWriterWasKilled) {
    for (std::size_t arrived = 0; arrived <= 3 * line(1).size(); ++arrived) {
        ::unlink((logDirectory() + "/test.log").c_str());
        addToFile("before\n");
        const std::string batch = leaveBatch();
        addToFile(batch.substr(0, arrived));
        EXPECT_EQ(write(), 0);
        EXPECT_EQ(text(), "before\n" + allLines_) << arrived;
        EXPECT_EQ(write(), 0);
        EXPECT_EQ(text(), "before\n" + allLines_) << arrived;
    }
}

TEST_F(LogWriterTest, FindsTheBatchBehindTheLinesOfAnotherProcess) {
    for (std::size_t arrived = 0; arrived <= 3 * line(1).size(); ++arrived) {
        ::unlink((logDirectory() + "/test.log").c_str());
        const std::string batch = leaveBatch();
        addToFile("2026-01-01 theirs\n" + batch.substr(0, arrived));
        EXPECT_EQ(write(), 0);
        EXPECT_EQ(text(), "2026-01-01 theirs\n" + allLines_) << arrived;
    }
}

TEST_F(LogWriterTest, WritesALineAnewThatAnotherProcessBrokeInTwo) {
    const std::string batch = leaveBatch();
    const std::string half = batch.substr(0, line(1).size() + 20);
    addToFile(half + "2026-01-01 theirs\n");
    EXPECT_EQ(write(), 0);
    EXPECT_EQ(text(), half + "2026-01-01 theirs\n" + line(2) + line(3) + line(4));
}

TEST_F(LogWriterTest, FindsTheBatchInAFileThatWasRotatedMeanwhile) {
    for (std::size_t arrived = 0; arrived <= 3 * line(1).size(); ++arrived) {
        ::unlink((logDirectory() + "/test.log").c_str());
        ::unlink((logDirectory() + "/test.log.1").c_str());
        const std::string batch = leaveBatch();
        addToFile(batch.substr(0, arrived));
        ASSERT_TRUE(file_.rotate());
        EXPECT_EQ(write(), 0);
        EXPECT_EQ(text("test.log.1") + text(), allLines_) << arrived;
        EXPECT_EQ(text().substr(0, 11), "2026-01-01T") << "begins with half a line";
    }
}

TEST_F(LogWriterTest, WritesTheWholeBatchWhereItsFileIsGone) {
    leaveBatch();
    ASSERT_EQ(::rename((logDirectory() + "/test.log").c_str(), scratch_.path("kept").c_str()), 0);
    EXPECT_EQ(write(), 0);
    EXPECT_EQ(text(), allLines_);
}

TEST_F(LogWriterTest, WritesTheWholeBatchWhereItsFileWasEmptied) {
    addToFile("much that was there before\n");
    const std::string batch = leaveBatch();
    addToFile(batch);
    ASSERT_EQ(::truncate((logDirectory() + "/test.log").c_str(), 0), 0);
    EXPECT_EQ(write(), 0);
    EXPECT_EQ(text(), allLines_);
}

TEST_F(LogWriterTest, IsNotMisledByWhatStandsUnderARotatedName) {
    const std::string batch = leaveBatch();
    addToFile(batch.substr(0, 10));
    const std::string path = logDirectory() + "/test.log";
    ASSERT_EQ(::mkdir((path + ".1").c_str(), 0700), 0);
    ASSERT_EQ(::symlink("test.log", (path + ".2").c_str()), 0);
    ASSERT_EQ(::mkfifo((path + ".3").c_str(), 0600), 0);
    ASSERT_EQ(::rename(path.c_str(), (path + ".4").c_str()), 0);
    EXPECT_EQ(write(), 0);
    EXPECT_EQ(text("test.log.4") + text(), allLines_);
}

/// A file that can be seen and not be opened to write, nor moved, while this lives: what an
/// immutable one is, where the file system knows of none.
class Unwritable {
  public:
    explicit Unwritable(std::string path) : path_(std::move(path)) {
        EXPECT_EQ(::mount(path_.c_str(), path_.c_str(), nullptr, MS_BIND, nullptr), 0);
        EXPECT_EQ(::mount("none", path_.c_str(), nullptr, MS_REMOUNT | MS_BIND | MS_RDONLY, ""), 0);
    }
    ~Unwritable() { ::umount(path_.c_str()); }
    Unwritable(const Unwritable&) = delete;
    Unwritable& operator=(const Unwritable&) = delete;

  private:
    std::string path_;
};

TEST_F(LogWriterTest, IsNotStoppedByARotatedFileThatCannotBeOpened) {
    koraha::test::inOwnMounts([this] {
        leaveBatch();
        const std::string path = logDirectory() + "/test.log";
        ASSERT_EQ(::rename(path.c_str(), scratch_.path("kept").c_str()), 0);
        scratch_.write("log/test.log.2", "older\n");
        const Unwritable older(path + ".2");
        EXPECT_EQ(write(), 0);
        EXPECT_EQ(text(), allLines_);
        EXPECT_EQ(text("test.log.2"), "older\n");
    });
}

TEST_F(LogWriterTest, WaitsWhileTheFileOfTheBatchItselfCannotBeOpened) {
    koraha::test::inOwnMounts([this] {
        const std::string batch = leaveBatch();
        addToFile(batch.substr(0, line(1).size()));
        ASSERT_TRUE(file_.rotate());
        {
            const Unwritable marked(logDirectory() + "/test.log.1");
            EXPECT_EQ(write(), EROFS);
            EXPECT_EQ(file_.size(), 0);
        }
        EXPECT_EQ(write(), 0);
        EXPECT_EQ(text("test.log.1") + text(), allLines_);
    });
}

TEST_F(LogWriterTest, FindsABatchAgainThatTellsOfLostLines) {
    const auto leave = [this](std::string& batch) {
        PendingLines lines(openBuffer());
        lines.append(line(1));
        lines.lose(5);
        lines.append(line(2));
        lines.begin(*file_.openToAppend().mark(), largestSequence, batch);
    };
    std::string expected;
    leave(expected);
    EXPECT_NE(expected.find(koraha::test::lossLine(5)), std::string::npos);
    EXPECT_EQ(write(), 0);
    EXPECT_EQ(text(), expected);
    for (std::size_t arrived = 0; arrived <= expected.size(); ++arrived) {
        ::unlink((logDirectory() + "/test.log").c_str());
        std::string batch;
        leave(batch);
        ASSERT_EQ(batch, expected);
        addToFile(batch.substr(0, arrived));
        EXPECT_EQ(write(), 0);
        EXPECT_EQ(text(), expected) << arrived;
    }
}

}  // namespace
}  // namespace KORA::HA::Daemon::support
