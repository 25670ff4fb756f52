// SPDX-License-Identifier: Apache-2.0
// Disks that take no lines, or only some, and places for the buffer that are full.
#include <gmock/gmock.h>
#include <sys/mount.h>
#include <sys/stat.h>
#include <unistd.h>

#include <functional>

#include "hasupport/daemon_log.h"
#include "log_places.h"
#include "tests/support/in_namespace.h"

namespace KORA::HA::Daemon {
namespace {

using koraha::test::inOwnMounts;
using koraha::test::Texts;
using koraha::test::withoutStamps;

const std::string lossBegin = [] {
    const std::string line = koraha::test::lossLine(0);
    return line.substr(0, line.size() - 1);
}();

class FailingDiskTest : public koraha::test::LogPlaces {
  protected:
    void mountOver(const std::string& path, const std::string& size) const {
        ::mkdir(path.c_str(), 0700);
        const std::string options = "mode=700,size=" + size;
        ASSERT_EQ(::mount("none", path.c_str(), "tmpfs", 0, options.c_str()), 0);
    }
    void resize(const std::string& path, const std::string& size) const {
        const std::string options = "mode=700,size=" + size;
        ASSERT_EQ(::mount("none", path.c_str(), "tmpfs", MS_REMOUNT, options.c_str()), 0);
    }
    static std::string numbered(int i) { return "line " + std::to_string(i) + " some filling"; }

    int logged_ = 0;
    void logLines(DaemonLog& log, int count) {
        for (int i = 0; i < count; ++i) {
            log.set(numbered(++logged_));
        }
    }
    void expectAllLines(const std::string& text) const {
        const Texts found = withoutStamps(text);
        ASSERT_EQ(found.size(), static_cast<std::size_t>(logged_));
        for (int i = 1; i <= logged_; ++i) {
            ASSERT_EQ(found.at(static_cast<std::size_t>(i - 1)), numbered(i));
        }
    }
};

TEST_F(FailingDiskTest, AFullOneGetsAllLinesOnceThereIsSpaceAgain) {
    inOwnMounts([this] {
        mountOver(logDirectory(), "16k");
        DaemonLog log(logDirectory(), "/test.log");
        logLines(log, 1000);
        EXPECT_FALSE(log.writeLogToDisk());
        EXPECT_FALSE(log.writeLogToDisk());
        EXPECT_EQ(text().back(), '\n') << "no half line is left behind";
        logLines(log, 1000);
        EXPECT_FALSE(log.writeLogToDisk());
        resize(logDirectory(), "1m");
        EXPECT_TRUE(log.writeLogToDisk());
        expectAllLines(text());
    });
}

TEST_F(FailingDiskTest, RotationOnAFullOneBreaksNoLine) {
    inOwnMounts([this] {
        mountOver(logDirectory(), "16k");
        DaemonLog log(logDirectory(), "/test.log");
        logLines(log, 1000);
        EXPECT_FALSE(log.writeLogToDisk());
        EXPECT_TRUE(log.rotate());
        EXPECT_FALSE(log.writeLogToDisk());
        resize(logDirectory(), "1m");
        EXPECT_TRUE(log.writeLogToDisk());
        EXPECT_EQ(text("test.log.1").back(), '\n');
        expectAllLines(text("test.log.1") + text());
    });
}

TEST_F(FailingDiskTest, AProcessThatEndsOnAFullOneLeavesItsLines) {
    inOwnMounts([this] {
        mountOver(logDirectory(), "16k");
        {
            DaemonLog log(logDirectory(), "/test.log");
            logLines(log, 5000);
            EXPECT_FALSE(log.writeLogToDisk());
        }
        resize(logDirectory(), "1m");
        DaemonLog next(logDirectory(), "/test.log");
        logLines(next, 10);
        EXPECT_TRUE(next.writeLogToDisk());
        expectAllLines(text());
    });
}

TEST_F(FailingDiskTest, LinesBeyondTheCeilingAreLostOldestFirstAndCounted) {
    inOwnMounts([this] {
        mountOver(logDirectory(), "16k");
        DaemonLog log(logDirectory(), "/test.log");
        logLines(log, 1000);
        EXPECT_FALSE(log.writeLogToDisk());
        logLines(log, 100000);
        resize(logDirectory(), "20m");
        EXPECT_TRUE(log.writeLogToDisk());
        int next = 1;
        int gaps = 0;
        for (const std::string& line : withoutStamps(text())) {
            if (line.starts_with(lossBegin)) {
                next += std::stoi(line.substr(lossBegin.size()));
                ++gaps;
            } else {
                ASSERT_EQ(line, numbered(next));
                ++next;
            }
        }
        EXPECT_EQ(next, logged_ + 1) << "every line is there or counted";
        EXPECT_EQ(gaps, 1);
    });
}

TEST_F(FailingDiskTest, AReadOnlyOneGetsAllLinesOnceItIsNot) {
    inOwnMounts([this] {
        mountOver(logDirectory(), "1m");
        DaemonLog log(logDirectory(), "/test.log");
        logLines(log, 10);
        EXPECT_TRUE(log.writeLogToDisk());
        ASSERT_EQ(::mount("none", logDirectory().c_str(), "tmpfs", MS_REMOUNT | MS_RDONLY, ""), 0);
        logLines(log, 100);
        EXPECT_FALSE(log.writeLogToDisk());
        EXPECT_FALSE(log.rotate());
        resize(logDirectory(), "1m");
        EXPECT_TRUE(log.writeLogToDisk());
        expectAllLines(text());
    });
}

TEST_F(FailingDiskTest, AMissingDirectoryIsMadeAndAMissingOneAboveAwaited) {
    DaemonLog log(scratch_.path("above/log"), "/test.log");
    logLines(log, 10);
    EXPECT_FALSE(log.writeLogToDisk());
    ASSERT_EQ(::mkdir(scratch_.path("above").c_str(), 0700), 0);
    EXPECT_TRUE(log.writeLogToDisk());
    expectAllLines(scratch_.read("above/log/test.log"));
}

TEST_F(FailingDiskTest, WithoutRoomForTheBufferMemoryServes) {
    for (const char* const size : {"4k", "16k", "60k"}) {
        inOwnMounts([this, size] {
            mountOver(runDirectory(), size);
            DaemonLog log(logDirectory(), "/test.log");
            logLines(log, 3000);
            EXPECT_TRUE(log.writeLogToDisk());
            expectAllLines(text());
        });
        ::unlink((logDirectory() + "/test.log").c_str());
    }
}

TEST_F(FailingDiskTest, WithoutRoomToGrowTheBufferMemoryServesForTheRest) {
    inOwnMounts([this] {
        mountOver(logDirectory(), "4k");
        mountOver(runDirectory(), "400k");
        {
            DaemonLog log(logDirectory(), "/test.log");
            logLines(log, 20000);
            EXPECT_FALSE(log.writeLogToDisk());
            logLines(log, 5000);
            resize(logDirectory(), "20m");
            EXPECT_TRUE(log.writeLogToDisk());
            expectAllLines(text());
            ::unlink((logDirectory() + "/test.log").c_str());
            logLines(log, 20000);
        }
        // What lay in the memory of the process alone is lost with it; the next one says so.
        DaemonLog next(logDirectory(), "/test.log");
        logLines(next, 1);
        EXPECT_TRUE(next.writeLogToDisk());
        int number = 25001;
        int gaps = 0;
        for (const std::string& line : withoutStamps(text())) {
            if (line.starts_with(lossBegin)) {
                number += std::stoi(line.substr(lossBegin.size()));
                ++gaps;
            } else {
                ASSERT_EQ(line, numbered(number));
                ++number;
            }
        }
        EXPECT_EQ(number, logged_ + 1);
        EXPECT_EQ(gaps, 1);
    });
}

}  // namespace
}  // namespace KORA::HA::Daemon
