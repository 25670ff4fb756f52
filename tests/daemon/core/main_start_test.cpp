// SPDX-License-Identifier: Apache-2.0
#include <gtest/gtest.h>

#include <cerrno>
#include <fstream>
#include <string>
#include <vector>

#include "tests/daemon/support/daemon_main.h"
#include "tests/daemon/support/memory_lock.h"
#include "tests/daemon/support/own_system.h"
#include "tests/daemon/support/system_log.h"
#include "tests/daemon/support/thread_calls.h"
#include "tests/scripted/script.h"

namespace {

using namespace koraha::test;
using testing::internal::CaptureStderr;
using testing::internal::GetCapturedStderr;

using Calls = std::vector<std::string>;

const std::string noFile = "daemonLog.set int_daemon_conf:91 Daemon configure file not exist";
const std::string noThread = "koraharemotemond:462 Failed to get thread/future";

// What reached the system log: one message of LOG_USER at LOG_ERR, under any ident.
void expectError(const Calls& messages, const std::string& text) {
    ASSERT_EQ(1U, messages.size());
    EXPECT_EQ(0U, messages[0].rfind("<11>", 0)) << messages[0];
    EXPECT_EQ(": " + text, messages[0].substr(messages[0].find(": "))) << messages[0];
}

// Runs main up to its first thread, which it cannot have, nor any other.
struct Start {
    Calls calls;  // of all that is done before
    bool busyFlagIsUp = false;
    int result = 0;
};

Start startOf(const std::vector<std::string>& words) {
    Start start;
    bool isFirst = true;
    beforeEachThread([&](int) {
        if (isFirst) {
            start.calls = script().callsSoFar();
            start.busyFlagIsUp = exists(busyFlag);
            isFirst = false;
        }
        return false;
    });
    start.result = runMain(words);
    beforeEachThread([](int) { return true; });
    return start;
}

class ArgumentCount : public testing::TestWithParam<std::vector<std::string>> {};

TEST_P(ArgumentCount, otherThanThreeIsAnsweredWithTheUsageAndNothingElseIsDone) {
    inOwnSystem([] {
        SystemLog systemLog;
        touch(busyFlag);
        std::ofstream(configFile) << "broken";
        const int threads = threadsMade();
        CaptureStderr();
        EXPECT_EQ(1, runMain(GetParam()));
        EXPECT_EQ("Usage: " + GetParam().at(0) + " <local_drbdip> <remote_drbdip> <drbdif>\n",
                  GetCapturedStderr());
        expectError(systemLog.messages(), "koraharemotemond:529 Bad parameter");
        EXPECT_EQ(Calls{}, script().calls);
        EXPECT_TRUE(exists(busyFlag));
        EXPECT_EQ(threads, threadsMade());
    });
}

INSTANTIATE_TEST_SUITE_P(
    Main, ArgumentCount,
    testing::Values(std::vector<std::string>{"koraharemotemond"},
                    std::vector<std::string>{"/usr/sbin/koraharemotemond", "10.0.0.1"},
                    std::vector<std::string>{"./a daemon %s", "10.0.0.1", "10.0.0.2"},
                    std::vector<std::string>{"", "10.0.0.1", "10.0.0.2", "eth1", "more"},
                    std::vector<std::string>{"x", "1", "2", "3", "4", "5", "6", "7", "8", "9"}),
    [](const auto& words) { return std::to_string(words.param.size() - 1) + "arguments"; });

TEST(MainStart, withoutEvenItsNameItAnswersWithTheUsageToo) {
    inOwnSystem([] {
        CaptureStderr();
        EXPECT_EQ(1, runMain({}));
        EXPECT_EQ("Usage:  <local_drbdip> <remote_drbdip> <drbdif>\n", GetCapturedStderr());
        EXPECT_EQ(Calls{}, script().calls);
    });
}

TEST(MainStart, failedLoadEndsBeforeTheBusyFlagIsTouchedAndBeforeAnyThreadExists) {
    inOwnSystem([] {
        SystemLog systemLog;
        touch(busyFlag);
        std::ofstream(configFile) << "{\"BASE_INTERVAL_ACTIVE\": }";
        const int threads = threadsMade();
        CaptureStderr();
        EXPECT_EQ(1, runMain({"koraharemotemond", "10.0.0.1", "10.0.0.2", "eth1"}));
        EXPECT_EQ("Failed to load config file\n", GetCapturedStderr());
        expectError(systemLog.messages(), "koraharemotemond:535 Failed to load config file");
        ASSERT_EQ(2U, script().calls.size());
        EXPECT_EQ(
            "daemonLog.set int_daemon_conf:95 Load configure from file: "
            "/var/lib/ha/remote_mond.conf",
            script().calls[0]);
        EXPECT_EQ(0U, script().calls[1].rfind("daemonLog.set int_daemon_conf:99 ", 0));
        EXPECT_TRUE(exists(busyFlag));
        EXPECT_EQ(threads, threadsMade());
    });
}

TEST(MainStart, loadsLowersTheBusyFlagNamesTheLinkAndLocksMemoryBeforeItsFirstThread) {
    inOwnSystem([] {
        SystemLog systemLog;
        touch(busyFlag);
        CaptureStderr();
        const Start start = startOf({"koraharemotemond", "10.0.0.1", "10.0.0.2", "eth1"});
        EXPECT_EQ("", GetCapturedStderr());
        EXPECT_EQ(
            (Calls{noFile, "daemonLog.set koraharemotemond:94 Delete flag: /tmp/ha/ha_remote_busy",
                   "localIP 10.0.0.1", "remoteIP 10.0.0.2", "drbdIF eth1", "mlockall 3"}),
            start.calls);
        EXPECT_FALSE(start.busyFlagIsUp);
        EXPECT_EQ(1, start.result);
        EXPECT_EQ(Calls{}, systemLog.messages());
    });
}

TEST(MainStart, withoutABusyFlagThereIsNothingToLower) {
    inOwnSystem([] {
        const Start start = startOf({"koraharemotemond", "10.0.0.1", "10.0.0.2", "eth1"});
        EXPECT_EQ(
            (Calls{noFile, "localIP 10.0.0.1", "remoteIP 10.0.0.2", "drbdIF eth1", "mlockall 3"}),
            start.calls);
    });
}

TEST(MainStart, argumentsAreCountedOnlyAndHandedOnAsTheyStand) {
    inOwnSystem([] {
        const Start start = startOf({"", "no address", "", "../%s\n"});
        EXPECT_EQ(
            (Calls{noFile, "localIP no address", "remoteIP ", "drbdIF ../%s\n", "mlockall 3"}),
            start.calls);
        EXPECT_EQ(1, start.result);
    });
}

TEST(MainStart, failedMemoryLockIsReportedWithItsReasonAndIsNotFatal) {
    inOwnSystem([] {
        SystemLog systemLog;
        failMemoryLockWith(ENOMEM);
        CaptureStderr();
        const Start start = startOf({"koraharemotemond", "10.0.0.1", "10.0.0.2", "eth1"});
        EXPECT_EQ("", GetCapturedStderr());
        expectError(systemLog.messages(),
                    "koraharemotemond:547 Memory lock failed: Cannot allocate memory");
        EXPECT_EQ("mlockall 3", start.calls.back());
    });
}

TEST(MainStart, reasonOfAFailedMemoryLockIsTheSystemsOwn) {
    inOwnSystem([] {
        SystemLog systemLog;
        failMemoryLockWith(EPERM);
        startOf({"koraharemotemond", "10.0.0.1", "10.0.0.2", "eth1"});
        expectError(systemLog.messages(),
                    "koraharemotemond:547 Memory lock failed: Operation not permitted");
    });
}

TEST(MainStart, settingsAreLoadedBeforeTheLinkIsNamed) {
    inOwnSystem([] {
        std::ofstream(configFile) << "{}";
        const Start start = startOf({"koraharemotemond", "10.0.0.1", "10.0.0.2", "eth1"});
        ASSERT_FALSE(start.calls.empty());
        EXPECT_EQ(
            "daemonLog.set int_daemon_conf:95 Load configure from file: "
            "/var/lib/ha/remote_mond.conf",
            start.calls[0]);
    });
}

TEST(MainStart, withoutAnyThreadItTriesAllEightAndEndsInOrder) {
    inOwnSystem([] {
        const int threads = threadsMade();
        const Start start = startOf({"koraharemotemond", "10.0.0.1", "10.0.0.2", "eth1"});
        EXPECT_EQ(1, start.result);
        EXPECT_EQ(8, threadsMade() - threads);
        Calls expected = start.calls;
        expected.insert(expected.end(), 8, "daemonLog.set " + noThread);
        for (const char* call :
             {"daemonLog.set koraharemotemond:566 Failed to do busyFlagControl", "sleep 1",
              "daemonLog.writeLogToDisk", "recordLog.writeLogToDisk"}) {
            expected.emplace_back(call);
        }
        EXPECT_EQ(expected, script().calls);
    });
}

}  // namespace
