// SPDX-License-Identifier: Apache-2.0
#include "tools/log_source.h"

#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <fstream>

#include "tests/support/scratch_dir.h"

namespace {

using koraha::test::ScratchDir;
using korahamonctl::LogSource;

struct Source : ::testing::Test {
    ScratchDir scratch;
    const std::string path = scratch.path("log");

    void append(const std::string& text) const {
        std::ofstream(path, std::ios::app) << text << std::flush;
    }
    // As the daemon does it.
    void rotate() const {
        for (int number = 4; number >= 1; --number) {
            std::rename((path + "." + std::to_string(number)).c_str(),
                        (path + "." + std::to_string(number + 1)).c_str());
        }
        ASSERT_EQ(std::rename(path.c_str(), (path + ".1").c_str()), 0);
    }
    static std::string all(LogSource& source) {
        std::string text;
        source.readAll([&](std::string_view bytes) { text += bytes; });
        return text;
    }
    static std::string more(LogSource& source) {
        std::string text;
        source.readMore([&](std::string_view bytes) { text += bytes; });
        return text;
    }
};

TEST_F(Source, GivesTheOldestFirst) {
    for (int number = 5; number >= 1; --number) {
        scratch.write("log." + std::to_string(number), std::to_string(number));
    }
    scratch.write("log.6", "no part of it");
    append("now");
    LogSource source(path);
    EXPECT_EQ(all(source), "54321now");
    EXPECT_EQ(more(source), "");
}

TEST_F(Source, GivesWhatComes) {
    append("one");
    LogSource source(path);
    EXPECT_EQ(all(source), "one");
    append("two");
    append("three");
    EXPECT_EQ(more(source), "twothree");
    EXPECT_EQ(more(source), "");
}

TEST_F(Source, GivesEachByteOnceAcrossRotations) {
    append("a");
    LogSource source(path);
    EXPECT_EQ(all(source), "a");
    append("b");
    rotate();
    EXPECT_EQ(more(source), "b");  // there is no new file yet
    append("c");
    EXPECT_EQ(more(source), "c");
    append("d");
    rotate();
    append("e");
    EXPECT_EQ(more(source), "de");
    EXPECT_EQ(more(source), "");
}

TEST_F(Source, GivesEachByteOnceWhenRotatedBeforeItIsRead) {
    scratch.write("log.1", "a");
    append("b");
    LogSource source(path);
    append("c");
    rotate();
    append("d");
    EXPECT_EQ(all(source) + more(source), "abcd");
}

TEST_F(Source, StartsAgainInAFileThatWasCut) {
    append("a long beginning");
    LogSource source(path);
    all(source);
    ASSERT_EQ(::truncate(path.c_str(), 0), 0);
    append("new");
    EXPECT_EQ(more(source), "new");
}

TEST_F(Source, WaitsForALogThatIsYetToCome) {
    LogSource source(path);
    EXPECT_FALSE(source.isThere());
    EXPECT_EQ(source.error(), ENOENT);
    EXPECT_EQ(all(source), "");
    EXPECT_EQ(more(source), "");
    append("first");
    EXPECT_EQ(more(source), "first");
}

TEST_F(Source, IsThereWhenOnlyRotatedFilesAre) {
    scratch.write("log.1", "old");
    LogSource source(path);
    EXPECT_TRUE(source.isThere());
    EXPECT_EQ(all(source), "old");
}

TEST_F(Source, TakesRegularFilesOnly) {
    ASSERT_EQ(::mkfifo(path.c_str(), 0600), 0);
    const LogSource fifo(path);
    EXPECT_FALSE(fifo.isThere());
    const LogSource directory(scratch.path());
    EXPECT_FALSE(directory.isThere());
}

}  // namespace
