// SPDX-License-Identifier: Apache-2.0
#include "log/upkeep/log_handler.h"

#include <gtest/gtest.h>

#include <limits>

#include "log/running_flag.h"
#include "tests/daemon/support/calls.h"
#include "tests/daemon/support/own_system.h"
#include "tests/daemon/support/virtual_time.h"
#include "tests/scripted/script.h"

namespace KORA::HA::Daemon {
namespace {

using namespace koraha::test;

const Calls flush{"daemonLog.writeLogToDisk", "recordLog.writeLogToDisk"};
const Calls check{"daemonLog.size", "recordLog.size"};

constexpr std::int64_t maximum = 5'242'880;

std::function<std::int64_t(const std::string&)> sizes(std::int64_t daemonLog,
                                                      std::int64_t recordLog) {
    return [=](const std::string& log) { return log == "daemonLog" ? daemonLog : recordLog; };
}

void runPasses(int passes) {
    stopAfterSleeps(passes);
    EXPECT_FALSE(logHandler());
}

// The passes, counted from 1, in which the size of the daemon log was asked for.
std::vector<int> passesThatChecked() {
    std::vector<int> passes;
    int pass = 1;
    for (const std::string& call : script().calls) {
        if (call == "daemonLog.size") {
            passes.push_back(pass);
        } else if (call.rfind("sleep", 0) == 0) {
            ++pass;
        }
    }
    return passes;
}

TEST(LogHandler, eachPassWritesTheDaemonLogThenTheRecordLogThenSleeps) {
    inOwnSystem([] {
        runPasses(3);
        EXPECT_EQ(repeated(3, flush + Calls{"sleep 20"}), script().calls);
    });
}

TEST(LogHandler, defaultsExamineTheSizesInPass92AndThenOnceIn91Passes) {
    inOwnSystem([] {
        runPasses(300);
        EXPECT_EQ((std::vector<int>{92, 183, 274}), passesThatChecked());
    });
}

TEST(LogHandler, lessThanTheRotationIntervalNeverRotatesHoweverLargeTheLogs) {
    inOwnSystem([] {
        script().logSize = always(std::numeric_limits<std::int64_t>::max());
        runPasses(91);  // the last one begins 1800 seconds after the start: not yet more
        EXPECT_EQ(0U, script().count("daemonLog.size"));
        EXPECT_EQ(0U, script().count("daemonLog.rotate"));
    });
}

TEST(LogHandler, checkComesAfterTheFlushOfItsPassAndRotatesInOrder) {
    inOwnSystem([] {
        configure(R"({"BASE_INTERVAL_LOG_ROTATE": 19})");
        script().logSize = sizes(maximum + 1, maximum + 1);
        runPasses(2);
        EXPECT_EQ((flush + Calls{"sleep 20"} + flush +
                   Calls{"daemonLog.size", "daemonLog.rotate", "recordLog.size", "recordLog.rotate",
                         "sleep 20"}),
                  script().calls);
    });
}

TEST(LogHandler, elapsedTimeEqualToTheIntervalIsNotEnough) {
    inOwnSystem([] {
        configure(R"({"BASE_INTERVAL_LOG_ROTATE": 20})");
        runPasses(4);
        EXPECT_EQ((std::vector<int>{3}), passesThatChecked());
    });
}

TEST(LogHandler, intervalOfZeroExaminesOnlyWhenTimeHasPassed) {
    inOwnSystem([] {
        configure(R"({"BASE_INTERVAL_LOG_ROTATE": 0})");
        runPasses(3);
        EXPECT_EQ((std::vector<int>{2, 3}), passesThatChecked());
    });
}

TEST(LogHandler, negativeRotationIntervalExaminesAtEveryPass) {
    inOwnSystem([] {
        configure(R"({"BASE_INTERVAL_LOG_ROTATE": -1})");
        runPasses(3);
        EXPECT_EQ((std::vector<int>{1, 2, 3}), passesThatChecked());
    });
}

TEST(LogHandler, timeOfTheCheckIsNotedWhetherOrNotALogWasRotated) {
    inOwnSystem([] {
        configure(R"({"BASE_INTERVAL_LOG_ROTATE": 50})");
        runPasses(10);  // 60, 120 and 180 seconds after the start
        EXPECT_EQ((std::vector<int>{4, 7, 10}), passesThatChecked());
    });
}

TEST(LogHandler, timeOfTheCheckIsNotedAfterTheRotation) {
    inOwnSystem([] {
        configure(R"({"BASE_INTERVAL_LOG_ROTATE": 30})");
        script().logSize = sizes(maximum + 1, 0);
        script().rotateLog = [](const std::string&) {
            passTime(25);
            return true;
        };
        runPasses(7);
        EXPECT_EQ((std::vector<int>{3, 5, 7}), passesThatChecked());
    });
}

TEST(LogHandler, elapsedTimeIsMeasuredAfterTheFlush) {
    inOwnSystem([] {
        script().writeLog = [](const std::string& log) {
            passTime(log == "recordLog" ? 1801 : 0);
            return true;
        };
        runPasses(1);
        EXPECT_EQ((std::vector<int>{1}), passesThatChecked());
    });
}

TEST(LogHandler, clockThatWentBackExaminesNothing) {
    inOwnSystem([] {
        configure(R"({"BASE_INTERVAL_LOG_ROTATE": 30})");
        onSleep([](unsigned int) { passTime(-100); });
        runPasses(10);
        EXPECT_EQ(0U, script().count("daemonLog.size"));
    });
}

TEST(LogHandler, maximumIsReadOnceAndTheIntervalsAnewAtEachPass) {
    inOwnSystem([] {
        script().logSize = sizes(maximum, 1001);
        onSleep([](unsigned int) {
            configure(R"({"SIZE_MAX_OF_LOG_FILE": 1000, "BASE_INTERVAL_LOG_ROTATE": 5,
                          "BASE_INTERVAL_LOG_WRITE": 7})");
        });
        runPasses(2);
        EXPECT_EQ(flush + Calls{"sleep 20"} + flush + check + Calls{"sleep 7"}, script().calls);
    });
}

TEST(LogHandler, maximumComesFromItsSetting) {
    inOwnSystem([] {
        configure(R"({"SIZE_MAX_OF_LOG_FILE": 1000, "BASE_INTERVAL_LOG_ROTATE": -1})");
        script().logSize = sizes(1000, 1001);
        runPasses(1);
        EXPECT_EQ(0U, script().count("daemonLog.rotate"));
        EXPECT_EQ(1U, script().count("recordLog.rotate"));
    });
}

TEST(LogHandler, writeIntervalOfZeroFlushesWithoutPause) {
    inOwnSystem([] {
        configure(R"({"BASE_INTERVAL_LOG_WRITE": 0})");
        runPasses(3);
        EXPECT_EQ(repeated(3, flush + Calls{"sleep 0"}), script().calls);
    });
}

TEST(LogHandler, negativeWriteIntervalBecomesAnExtremelyLongSleep) {
    inOwnSystem([] {
        configure(R"({"BASE_INTERVAL_LOG_WRITE": -20})");
        runPasses(1);
        EXPECT_EQ("sleep 4294967276", script().calls.back());
    });
}

TEST(LogHandler, flagClearedDuringASleepWritesNothingMore) {
    inOwnSystem([] {
        onSleep([](unsigned int) { stopRunning(); });
        EXPECT_FALSE(logHandler());
        EXPECT_EQ(flush + Calls{"sleep 20"}, script().calls);
    });
}

TEST(LogHandler, flagThatIsAlreadyClearWritesNothing) {
    inOwnSystem([] {
        TEST_setRunning(false);
        EXPECT_FALSE(logHandler());
        EXPECT_EQ(Calls{}, script().calls);
    });
}

TEST(LogHandler, failuresOfTheLogsAreIgnoredAndNotLogged) {
    inOwnSystem([] {
        configure(R"({"BASE_INTERVAL_LOG_ROTATE": -1})");
        script().writeLog = always(false);
        script().rotateLog = always(false);
        script().logSize = sizes(maximum + 1, maximum + 1);
        runPasses(2);
        EXPECT_EQ(4U, script().callsOf({"daemonLog.rotate", "recordLog.rotate"}).size());
        EXPECT_EQ(4U, script().callsOf({"daemonLog.write", "recordLog.write"}).size());
        EXPECT_TRUE(script().logLines.empty());
    });
}

TEST(LogWrite, writesTheDaemonLogThenTheRecordLogAndIsAlwaysTrue) {
    inOwnSystem([] {
        EXPECT_TRUE(logWrite());
        script().writeLog = always(false);
        EXPECT_TRUE(logWrite());
        EXPECT_EQ(flush + flush, script().calls);
    });
}

TEST(LogRotate, logOfExactlyTheMaximumIsKeptAndOneByteMoreIsRotated) {
    inOwnSystem([] {
        script().logSize = sizes(1000, 1001);
        EXPECT_TRUE(logRotate(1000));
        EXPECT_EQ((Calls{"daemonLog.size", "recordLog.size", "recordLog.rotate"}), script().calls);
    });
}

TEST(LogRotate, logsAreJudgedSeparately) {
    inOwnSystem([] {
        script().logSize = sizes(1001, 1000);
        EXPECT_TRUE(logRotate(1000));
        EXPECT_EQ((Calls{"daemonLog.size", "daemonLog.rotate", "recordLog.size"}), script().calls);
    });
}

TEST(LogRotate, sizesAreCompared64BitsWideAndSigned) {
    inOwnSystem([] {
        script().logSize = sizes((std::int64_t{1} << 32) + 5, 0);
        logRotate(std::numeric_limits<int>::max());
        EXPECT_EQ((Calls{"daemonLog.size", "daemonLog.rotate", "recordLog.size"}), script().calls);
        script().forgetCalls();
        logRotate(-1);  // an empty log is larger than that
        EXPECT_EQ(1U, script().count("recordLog.rotate"));
    });
}

TEST(LogRotate, isTrueWhenRotatingFailsToo) {
    inOwnSystem([] {
        script().logSize = sizes(2, 2);
        script().rotateLog = always(false);
        EXPECT_TRUE(logRotate(1));
        EXPECT_EQ(1U, script().count("recordLog.rotate"));
    });
}

}  // namespace
}  // namespace KORA::HA::Daemon
