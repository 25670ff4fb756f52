// SPDX-License-Identifier: Apache-2.0
#include "hasupport/daemon_log.h"

#include <gmock/gmock.h>
#include <sys/stat.h>
#include <unistd.h>

#include <atomic>
#include <map>
#include <thread>

#include "log_places.h"
#include "tests/support/small_stack.h"
#include "tests/support/told.h"

namespace KORA::HA::Daemon {
namespace {

using koraha::test::Texts;
using testing::ElementsAre;
using testing::MatchesRegex;

class DaemonLogTest : public koraha::test::LogPlaces {
  protected:
    std::unique_ptr<DaemonLog> makeLog() const {
        return std::make_unique<DaemonLog>(logDirectory(), "/test.log");
    }
    bool exists(const std::string& path) const { return ::access(path.c_str(), F_OK) == 0; }
};

TEST_F(DaemonLogTest, TouchesNoFileUntilItIsUsed) {
    const auto log = makeLog();
    EXPECT_FALSE(exists(logDirectory()));
    EXPECT_FALSE(exists(runDirectory()));
    EXPECT_EQ(log->size(), 0);
    log->set("line");
    EXPECT_FALSE(exists(logDirectory()));
}

TEST_F(DaemonLogTest, WritesItsLinesWhenToldTo) {
    const auto log = makeLog();
    log->set("one");
    log->set("two");
    EXPECT_TRUE(log->writeLogToDisk());
    EXPECT_THAT(lines(), ElementsAre("one", "two"));
    EXPECT_THAT(text(), MatchesRegex("([0-9]{4}-[0-9]{2}-[0-9]{2}T[0-9]{2}:[0-9]{2}:[0-9]{2}\\."
                                     "[0-9]{6}Z [a-z]+\n){2}"));
    EXPECT_EQ(log->size(), static_cast<std::int64_t>(text().size()));
    EXPECT_TRUE(log->writeLogToDisk());
    EXPECT_THAT(lines(), ElementsAre("one", "two"));
    log->set("three");
    EXPECT_TRUE(log->writeLogToDisk());
    EXPECT_THAT(lines(), ElementsAre("one", "two", "three"));
}

TEST_F(DaemonLogTest, MakesNoFileForNothing) {
    EXPECT_TRUE(makeLog()->writeLogToDisk());
    EXPECT_FALSE(exists(logDirectory()));
}

TEST_F(DaemonLogTest, RotatesAndStartsAfresh) {
    const auto log = makeLog();
    EXPECT_FALSE(log->rotate());
    log->set("old");
    EXPECT_TRUE(log->writeLogToDisk());
    EXPECT_TRUE(log->rotate());
    EXPECT_EQ(log->size(), 0);
    log->set("new");
    EXPECT_TRUE(log->writeLogToDisk());
    EXPECT_THAT(lines("test.log.1"), ElementsAre("old"));
    EXPECT_THAT(lines(), ElementsAre("new"));
}

TEST_F(DaemonLogTest, SaysOnceThatItCannotBeRotatedAndOnceThatItCanAgain) {
    const auto log = makeLog();
    log->set("one");
    EXPECT_TRUE(log->writeLogToDisk());
    const std::string path = logDirectory() + "/test.log";
    for (const char* const number : {"1", "2", "3", "5"}) {
        scratch_.write(std::string("log/test.log.") + number, number);
    }
    ASSERT_EQ(::mkdir((path + ".4").c_str(), 0700), 0);
    koraha::test::forgetTold();
    for (int pass = 0; pass < 3; ++pass) {
        EXPECT_FALSE(log->rotate());
    }
    EXPECT_EQ(koraha::test::timesTold("a log cannot be rotated: " + path + " or one of its"), 1U);
    ASSERT_EQ(::rmdir((path + ".4").c_str()), 0);
    EXPECT_TRUE(log->rotate());
    EXPECT_EQ(koraha::test::timesTold("a log can be rotated again: " + path), 1U);
    EXPECT_EQ(koraha::test::told().size(), 2U);
}

TEST_F(DaemonLogTest, TakesTextsOfAnyKind) {
    const auto log = makeLog();
    log->set("");
    log->set("two\nlines\n");
    log->set(std::string("nul\0inside", 10));
    log->set(std::string(3000000, 'x'));
    log->set("last");
    EXPECT_TRUE(log->writeLogToDisk());
    const auto found = lines();
    ASSERT_EQ(found.size(), 6U);
    EXPECT_EQ(found[0], "");
    EXPECT_EQ(found[1] + "|" + found[2], "two|\tlines");
    EXPECT_EQ(found[3], "nul\\x00inside");
    EXPECT_THAT(found[4].substr(found[4].size() - 40), MatchesRegex("x+ \\[[0-9]+ bytes cut\\]"));
    EXPECT_GT(found[4].size(), 200000U);
    EXPECT_EQ(found[5], "last");
}

TEST_F(DaemonLogTest, LinesOutliveTheirObject) {
    {
        const auto log = makeLog();
        log->set("written");
        EXPECT_TRUE(log->writeLogToDisk());
        log->set("left");
    }
    const auto next = makeLog();
    next->set("newer");
    EXPECT_TRUE(next->writeLogToDisk());
    EXPECT_THAT(lines(), ElementsAre("written", "left", "newer"));
}

TEST_F(DaemonLogTest, WhatWasLeftIsWrittenEvenIfNothingNewIsLogged) {
    makeLog()->set("left");
    EXPECT_TRUE(makeLog()->writeLogToDisk());
    EXPECT_THAT(lines(), ElementsAre("left"));
}

TEST_F(DaemonLogTest, AStartThatLogsNothingDisturbsNothing) {
    makeLog()->set("left");
    { const auto started = makeLog(); }
    const auto next = makeLog();
    EXPECT_TRUE(next->writeLogToDisk());
    EXPECT_THAT(lines(), ElementsAre("left"));
}

TEST_F(DaemonLogTest, LeavesNoBufferBehindWhenAllIsWritten) {
    makeLog()->set("left");
    EXPECT_TRUE(exists(bufferPath()));
    EXPECT_TRUE(makeLog()->writeLogToDisk());
    EXPECT_FALSE(exists(bufferPath()));
}

TEST_F(DaemonLogTest, LogsOfDifferentFilesKeepApart) {
    DaemonLog first(logDirectory(), "/test.log");
    DaemonLog second(logDirectory(), "/test.record");
    DaemonLog third(scratch_.path("elsewhere"), "/test.log");
    first.set("first");
    second.set("second");
    third.set("third");
    EXPECT_TRUE(third.writeLogToDisk());
    EXPECT_TRUE(second.writeLogToDisk());
    EXPECT_TRUE(first.writeLogToDisk());
    EXPECT_THAT(lines(), ElementsAre("first"));
    EXPECT_THAT(lines("test.record"), ElementsAre("second"));
    EXPECT_THAT(koraha::test::withoutStamps(scratch_.read("elsewhere/test.log")),
                ElementsAre("third"));
}

TEST_F(DaemonLogTest, ASecondObjectNeitherTakesNorLosesTheLinesOfTheFirst) {
    const auto first = makeLog();
    first->set("first 1");
    {
        const auto second = makeLog();
        second->set("second 1");
        EXPECT_TRUE(second->writeLogToDisk());
        EXPECT_THAT(lines(), ElementsAre("second 1"));
        second->set("second 2");
    }
    first->set("first 2");
    EXPECT_TRUE(first->writeLogToDisk());
    EXPECT_THAT(lines(), ElementsAre("second 1", "first 1", "first 2"));
}

TEST_F(DaemonLogTest, ASecondObjectTakesTheBufferOverOnceTheFirstHasGone) {
    auto first = makeLog();
    first->set("first");
    const auto second = makeLog();
    second->set("second 1");
    first.reset();
    EXPECT_TRUE(second->writeLogToDisk());
    EXPECT_THAT(lines(), ElementsAre("first", "second 1"));
    second->set("second 2");
    const auto third = makeLog();
    EXPECT_TRUE(third->writeLogToDisk());
    EXPECT_THAT(lines(), ElementsAre("first", "second 1")) << "the second does not own the buffer";
    EXPECT_TRUE(second->writeLogToDisk());
    EXPECT_THAT(lines(), ElementsAre("first", "second 1", "second 2"));
}

TEST_F(DaemonLogTest, ManyThreadsLoseNothingWhileOneWritesAndRotates) {
    constexpr int threads = 8;
    constexpr int perThread = 2000;
    const auto log = makeLog();
    std::atomic<int> running{threads};
    std::vector<std::thread> loggers;
    for (int thread = 0; thread < threads; ++thread) {
        loggers.emplace_back([&, thread] {
            for (int i = 0; i < perThread; ++i) {
                log->set(std::to_string(thread) + " " + std::to_string(i));
            }
            --running;
        });
    }
    int rotations = 0;
    std::string everything;
    while (running > 0 || rotations == 0) {
        EXPECT_TRUE(log->writeLogToDisk());
        if (log->size() > 20000 && rotations < 5) {
            EXPECT_TRUE(log->rotate());
            ++rotations;
        }
    }
    for (auto& each : loggers) {
        each.join();
    }
    EXPECT_TRUE(log->writeLogToDisk());
    for (int number = 5; number >= 0; --number) {
        everything += text(number > 0 ? "test.log." + std::to_string(number) : "test.log");
    }
    std::map<std::string, int> next;
    for (const std::string& line : koraha::test::withoutStamps(everything)) {
        const auto blank = line.find(' ');
        ASSERT_EQ(line.substr(blank + 1), std::to_string(next[line.substr(0, blank)]++));
    }
    for (int thread = 0; thread < threads; ++thread) {
        EXPECT_EQ(next[std::to_string(thread)], perThread);
    }
}

TEST_F(DaemonLogTest, WorksOnTheStackOfARoutine) {
    koraha::test::onSmallStack([this] {
        const auto log = makeLog();
        for (int i = 0; i < 5000; ++i) {
            log->set(std::string(100, 'x'));
        }
        log->set(std::string(200000, 'y'));
        EXPECT_TRUE(log->writeLogToDisk());
        EXPECT_TRUE(log->rotate());
    });
    EXPECT_EQ(lines("test.log.1").size(), 5001U);
}

}  // namespace
}  // namespace KORA::HA::Daemon
