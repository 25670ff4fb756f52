// SPDX-License-Identifier: Apache-2.0
#include "hasupport/logfile/log_file.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/mount.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>

#include "tests/support/in_namespace.h"
#include "tests/support/scratch_dir.h"

namespace KORA::HA::Daemon::support {
namespace {

class LogFileTest : public testing::Test {
  protected:
    void append(const std::string& text) const {
        const auto open = file_.openToAppend();
        ASSERT_EQ(open.error(), 0);
        const auto outcome = open.append(text);
        EXPECT_EQ(outcome.written, text.size());
        EXPECT_EQ(outcome.error, 0);
    }
    std::string read(const std::string& suffix = {}) const {
        return scratch_.read("log/test.log" + suffix);
    }
    std::string path() const { return scratch_.path("log/test.log"); }
    bool exists(const std::string& suffix) const {
        return ::access((path() + suffix).c_str(), F_OK) == 0;
    }
    mode_t modeOf(const std::string& name) const {
        struct stat info {};
        EXPECT_EQ(::stat(scratch_.path(name).c_str(), &info), 0);
        return info.st_mode & 07777U;
    }

    koraha::test::ScratchDir scratch_;
    LogFile file_{scratch_.path("log"), "/test.log"};
};

TEST_F(LogFileTest, MakesItsFileAndDirectoryForItsOwnGroupAtMost) {
    const mode_t before = ::umask(0);
    append("one\n");
    ::umask(before);
    EXPECT_EQ(modeOf("log"), 0750U);
    EXPECT_EQ(modeOf("log/test.log"), 0640U);
    append("two\n");
    EXPECT_EQ(read(), "one\ntwo\n");
    EXPECT_EQ(file_.size(), 8);
}

TEST_F(LogFileTest, HasNoSizeWhereThereIsNone) {
    EXPECT_EQ(file_.size(), 0);
    EXPECT_FALSE(file_.rotate());
}

TEST_F(LogFileTest, MakesNoMoreThanOneDirectory) {
    const LogFile deep(scratch_.path("missing/log"), "/test.log");
    EXPECT_EQ(deep.openToAppend().error(), ENOENT);
}

TEST_F(LogFileTest, WritesThroughNoLinkAndIntoNothingButAFile) {
    scratch_.write("log/other", "precious");
    ASSERT_EQ(::symlink("other", path().c_str()), 0);
    EXPECT_EQ(file_.openToAppend().error(), ELOOP);
    EXPECT_EQ(scratch_.read("log/other"), "precious");

    ASSERT_EQ(::unlink(path().c_str()), 0);
    ASSERT_EQ(::mkfifo(path().c_str(), 0600), 0);
    EXPECT_NE(file_.openToAppend().error(), 0);
    ASSERT_EQ(::unlink(path().c_str()), 0);
    ASSERT_EQ(::mkdir(path().c_str(), 0700), 0);
    EXPECT_NE(file_.openToAppend().error(), 0);
}

TEST_F(LogFileTest, KeepsFiveRotatedOnes) {
    for (int i = 0; i < 7; ++i) {
        append(std::to_string(i));
        EXPECT_TRUE(file_.rotate());
        EXPECT_EQ(file_.size(), 0);
    }
    EXPECT_FALSE(exists(""));
    for (int i = 1; i <= 5; ++i) {
        EXPECT_EQ(read("." + std::to_string(i)), std::to_string(7 - i));
    }
    EXPECT_FALSE(exists(".6"));
}

// A process that was killed while it rotated left a number free.
TEST_F(LogFileTest, ShiftsNoFurtherThanToAFreeNumber) {
    append("new");
    for (const char* const number : {"1", "2", "4", "5"}) {
        scratch_.write(std::string("log/test.log.") + number, number);
    }
    EXPECT_TRUE(file_.rotate());
    EXPECT_EQ(read(".1"), "new");
    EXPECT_EQ(read(".2"), "1");
    EXPECT_EQ(read(".3"), "2");
    EXPECT_EQ(read(".4"), "4");
    EXPECT_EQ(read(".5"), "5");
}

// Whatever stands in the way of a rotation, what was rotated before stays as it is.
TEST_F(LogFileTest, OverwritesNothingWhereADirectoryIsInTheWay) {
    append("new");
    for (const char* const number : {"1", "2", "3", "5"}) {
        scratch_.write(std::string("log/test.log.") + number, number);
    }
    const std::string directory = path() + ".4";
    ASSERT_EQ(::mkdir(directory.c_str(), 0700), 0);
    for (int pass = 0; pass < 2; ++pass) {
        errno = 0;
        EXPECT_FALSE(file_.rotate());
        EXPECT_EQ(errno, ENOTDIR);
        EXPECT_EQ(read(), "new");
        for (const char* const number : {"1", "2", "3", "5"}) {
            EXPECT_EQ(read(std::string(".") + number), number);
        }
    }
    ASSERT_EQ(::rmdir(directory.c_str()), 0);
    EXPECT_TRUE(file_.rotate());
    EXPECT_EQ(read(".1") + read(".2") + read(".3") + read(".4") + read(".5"), "new1235");
}

TEST_F(LogFileTest, OverwritesNothingWhereARotatedOneCannotBeMoved) {
    koraha::test::inOwnMounts([this] {
        append("new");
        for (const char* const number : {"1", "2"}) {
            scratch_.write(std::string("log/test.log.") + number, number);
        }
        const std::string stuck =
            path() + ".2";  // a place where something is mounted keeps its name
        ASSERT_EQ(::mount(stuck.c_str(), stuck.c_str(), nullptr, MS_BIND, nullptr), 0);
        EXPECT_FALSE(file_.rotate());
        EXPECT_EQ(read() + read(".1") + read(".2"), "new12");
        EXPECT_FALSE(exists(".3"));
        ASSERT_EQ(::umount(stuck.c_str()), 0);
        EXPECT_TRUE(file_.rotate());
        EXPECT_EQ(read(".1") + read(".2") + read(".3"), "new12");
    });
}

TEST_F(LogFileTest, FindsTheFileOfAMarkUnderItsLaterNames) {
    append("one\n");
    const auto mark = file_.openToAppend().mark();
    ASSERT_TRUE(mark);
    EXPECT_EQ(mark->size, 4U);
    for (int rotations = 0; rotations <= 5; ++rotations) {
        const auto found = file_.openMarked(*mark);
        ASSERT_EQ(found.error(), 0) << rotations;
        EXPECT_EQ(found.readFrom(1, 100), "ne\n");
        EXPECT_EQ(found.readFrom(1, 2), "ne");
        EXPECT_EQ(found.readFrom(4, 100), "");
        EXPECT_EQ(found.readFrom(400, 100), "");
        ASSERT_TRUE(file_.rotate());
        append("newer\n");
    }
    EXPECT_EQ(file_.openMarked(*mark).error(), ENOENT);
}

TEST_F(LogFileTest, SaysWhenTheFileOfAMarkIsGone) {
    append("one\n");
    const auto mark = file_.openToAppend().mark();
    ASSERT_TRUE(mark);
    ASSERT_EQ(::rename(path().c_str(), scratch_.path("kept").c_str()), 0);
    EXPECT_EQ(file_.openMarked(*mark).error(), ENOENT);
    append("another\n");
    EXPECT_EQ(file_.openMarked(*mark).error(), ENOENT);
}

TEST_F(LogFileTest, CutsOnlyWhatNobodyAddedTo) {
    append("one\ntw");
    const auto mark = file_.openToAppend().mark();
    ASSERT_TRUE(mark);
    const auto open = file_.openMarked(*mark);
    EXPECT_FALSE(open.cut(5, 4));
    EXPECT_EQ(read(), "one\ntw");
    EXPECT_TRUE(open.cut(6, 4));
    EXPECT_EQ(read(), "one\n");
}

TEST_F(LogFileTest, SaysWhyItCannotWrite) {
    const OpenLogFile full(UniqueFd(::open("/dev/full", O_WRONLY | O_CLOEXEC)), 0);
    const auto outcome = full.append("text");
    EXPECT_EQ(outcome.written, 0U);
    EXPECT_EQ(outcome.error, ENOSPC);
}

}  // namespace
}  // namespace KORA::HA::Daemon::support
