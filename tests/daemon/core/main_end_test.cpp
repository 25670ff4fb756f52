// SPDX-License-Identifier: Apache-2.0
#include <gtest/gtest.h>
#include <unistd.h>

#include <boost/thread/thread.hpp>

#include <algorithm>
#include <chrono>
#include <cstdlib>
#include <functional>
#include <string>
#include <vector>

#include "log/running_flag.h"
#include "tests/daemon/support/daemon_main.h"
#include "tests/daemon/support/eight_routines.h"
#include "tests/daemon/support/own_system.h"
#include "tests/daemon/support/thread_calls.h"
#include "tests/daemon/support/virtual_time.h"
#include "tests/scripted/script.h"

namespace {

using namespace koraha::test;

using Calls = std::vector<std::string>;

const std::vector<std::string> words = {"koraharemotemond", "10.0.0.1", "10.0.0.2", "eth1"};

const Calls started = {
    "daemonLog.set int_daemon_conf:91 Daemon configure file not exist",
    "localIP 10.0.0.1",
    "remoteIP 10.0.0.2",
    "drbdIF eth1",
    "mlockall 3",
};

bool slowlyTrue() {
    boost::this_thread::sleep_for(boost::chrono::milliseconds(20));
    return true;
}

// Answers with which all eight routines run until they are told to end.
void keepAllRunning() {
    makeSleepsReallyLast(std::chrono::milliseconds(20));
    script().bind = always(true);
    script().listen = slowlyTrue;
    script().socketServer = [](auto&) { return slowlyTrue(); };
}

// What main does once it has found that routine stopped.
Calls endedBy(const std::string& name) {
    return {"daemonLog.set koraharemotemond:566 Failed to do " + name, "sleep 1",
            "daemonLog.writeLogToDisk", "recordLog.writeLogToDisk"};
}

Calls operator+(Calls left, const Calls& right) {
    left.insert(left.end(), right.begin(), right.end());
    return left;
}

// The calls that main makes itself, without its passes over routines that run.
Calls callsOfMain() {
    Calls calls = script().callsOfThisThread();
    const auto isPass = [](const std::string& call) { return call == "sleep 1"; };
    const auto firstPass = std::find_if(calls.begin(), calls.end(), isPass);
    const auto found = std::find_if(calls.begin(), calls.end(), [](const std::string& call) {
        return call.find(":566 ") != std::string::npos;
    });
    if (firstPass < found) {
        calls.erase(firstPass, found);
    }
    return calls;
}

Calls joinedNames(int firstThread) {
    Calls names;
    for (const int number : threadsJoined()) {
        names.push_back(eightRoutines().at(static_cast<std::size_t>(number - firstThread)).name);
    }
    return names;
}

Calls allBut(const std::string& name) {
    Calls names = namesInKeyOrder();
    names.erase(std::remove(names.begin(), names.end(), name), names.end());
    return names;
}

class MainEnd : public testing::TestWithParam<std::size_t> {};

TEST_P(MainEnd, withWhicheverRoutineCouldNotBeStartedNamedFlushedAndTheOthersJoined) {
    inOwnSystem([] {
        keepAllRunning();
        const std::string& name = eightRoutines().at(GetParam()).name;
        const int first = threadsMade();
        beforeEachThread(
            [&](int number) { return number != first + static_cast<int>(GetParam()); });
        EXPECT_EQ(1, runMain(words));
        EXPECT_EQ(started +
                      Calls{"daemonLog.set koraharemotemond:462 Failed to get thread/future"} +
                      endedBy(name),
                  script().callsOfThisThread());
        EXPECT_EQ(allBut(name), joinedNames(first));
        EXPECT_FALSE(KORA::HA::Daemon::isRunning());
    });
}

INSTANTIATE_TEST_SUITE_P(Of, MainEnd, testing::Range(std::size_t{0}, std::size_t{8}),
                         [](const auto& routine) {
                             return eightRoutines().at(routine.param).name;
                         });

// Runs main to its end; all eight routines were started.
void expectEndBy(const std::string& name) {
    const int first = threadsMade();
    EXPECT_EQ(1, runMain(words));
    EXPECT_EQ(started + endedBy(name), callsOfMain());
    EXPECT_EQ(namesInKeyOrder(), joinedNames(first));
    EXPECT_EQ(1U, script().count("daemonLog.set koraharemotemond:566"));
    EXPECT_FALSE(KORA::HA::Daemon::isRunning());
}

TEST(MainEnd, whenServingHasEnded) {
    inOwnSystem([] {
        keepAllRunning();
        script().socketServer = always(false);
        expectEndBy("server");
    });
}

TEST(MainEnd, whenServingEndsAfterAWhile) {
    inOwnSystem([] {
        keepAllRunning();
        script().socketServer = [](auto&) {
            return slowlyTrue() && script().count("IsRemoteAlive") < 20;
        };
        expectEndBy("server");
    });
}

TEST(MainEnd, whenTheStatusSocketCannotBeMade) {
    inOwnSystem([] {
        keepAllRunning();
        script().socketError = always(true);
        expectEndBy("daemonDataServer");
        EXPECT_EQ(1U, script().count("daemonLog.set koraharemotemond:294 "));
    });
}

TEST(MainEnd, namesOnlyTheFirstInKeyOrderWhenBothServersEnded) {
    inOwnSystem([] {
        keepAllRunning();
        script().socketServer = always(false);
        script().bind = always(false);
        expectEndBy("daemonDataServer");
    });
}

// Checked when everything else of the process is gone.
bool logsMustRemain = false;

[[gnu::destructor]] void checkThatTheLogsRemain() {
    if (logsMustRemain && script().count("~DaemonLog") != 0) {
        ::_exit(77);
    }
}

TEST(MainDeathTest, processExitsWithOneAndTheLogsOutliveIt) {
    inOwnSystem([] {
        keepAllRunning();
        script().bind = always(false);
        logsMustRemain = true;
        EXPECT_EXIT(std::exit(runMain(words)), testing::ExitedWithCode(1), "^$");
        EXPECT_EXIT(std::exit(runMain({"koraharemotemond"})), testing::ExitedWithCode(1),
                    "^Usage: koraharemotemond <local_drbdip> <remote_drbdip> <drbdif>\n$");
    });
}

TEST(MainDeathTest, valueThatARoutineCannotUseEndsTheProcess) {
    inOwnSystem([] {
        keepAllRunning();
        configure(R"({"BASE_INTERVAL_BUSY_FLAG": ["often"]})");
        EXPECT_EXIT(std::exit(runMain(words)), testing::KilledBySignal(SIGABRT),
                    "Json::LogicError");
    });
}

}  // namespace
