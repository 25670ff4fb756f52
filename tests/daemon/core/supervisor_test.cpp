// SPDX-License-Identifier: Apache-2.0
#include "daemon/supervisor.h"

#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <string>
#include <tuple>
#include <utility>
#include <vector>

#include "log/log_line.h"
#include "log/running_flag.h"
#include "tests/daemon/support/eventually.h"
#include "tests/daemon/support/thread_calls.h"
#include "tests/daemon/support/virtual_time.h"
#include "tests/scripted/script.h"

namespace KORA::HA::Daemon {
namespace {

using namespace koraha::test;

using Calls = std::vector<std::string>;

bool untilTheFlagIsClear() {
    EXPECT_TRUE(eventually([] { return !isRunning(); }));
    return true;
}

std::string stoppedLine(const std::string& name) {
    return "daemonLog.set koraharemotemond:566 Failed to do " + name;
}

class Supervisor : public testing::Test {
  protected:
    void start(const std::string& name, const boost::function<bool()>& routine) {
        numbers[name] = threadsMade();
        routines.emplace(name, MyRoutine(routine));
    }

    // A routine that returns at once, and has: what is late on a busy machine is late before it.
    void startAndLetEnd(const std::string& name, bool result) {
        std::atomic<bool> returns{false};
        start(name, [&returns, result] {
            returns = true;
            return result;
        });
        EXPECT_TRUE(eventually([&returns] { return returns.load(); }));
    }

    // The names of the routines in the order of their joins.
    Calls joined() const {
        Calls names;
        for (const int number : threadsJoined()) {
            for (const auto& [name, itsNumber] : numbers) {
                if (number == itsNumber) {
                    names.push_back(name);
                }
            }
        }
        return names;
    }

    void TearDown() override {
        stopRunning();
        for (auto& [name, routine] : routines) {
            routine.join();
        }
        onSleep([](unsigned int) {});
    }

    RoutineTable routines;
    std::map<std::string, int> numbers;
};

class SupervisorOf : public Supervisor,
                     public testing::WithParamInterface<std::tuple<int, bool>> {};

TEST_P(SupervisorOf, stoppedRoutineIsNamedWhicheverItIsAndWhateverItReturned) {
    const auto [stopped, result] = GetParam();
    const Calls names = {"alpha", "beta", "gamma"};
    for (int i = 0; i < 3; ++i) {
        if (i == stopped) {
            startAndLetEnd(names.at(i), result);
        } else {
            start(names.at(i), untilTheFlagIsClear);
        }
    }
    const auto before = std::chrono::steady_clock::now();
    superviseUntilOneStops(routines);
    EXPECT_GE(std::chrono::steady_clock::now() - before, std::chrono::seconds(stopped));
    EXPECT_FALSE(isRunning());
    EXPECT_EQ((Calls{stoppedLine(names.at(stopped)), "sleep 1"}), script().callsOfThisThread());
}

std::string positionAndResult(const testing::TestParamInfo<std::tuple<int, bool>>& stopped) {
    const auto [position, result] = stopped.param;
    return std::to_string(position) + (result ? "True" : "False");
}

INSTANTIATE_TEST_SUITE_P(Routines, SupervisorOf,
                         testing::Combine(testing::Values(0, 1, 2), testing::Bool()),
                         positionAndResult);

TEST_F(Supervisor, namesOnlyTheFirstInKeyOrderEvenIfSeveralStopped) {
    for (const char* name : {"gamma", "beta", "alpha"}) {
        startAndLetEnd(name, false);
    }
    superviseUntilOneStops(routines);
    EXPECT_EQ((Calls{stoppedLine("alpha"), "sleep 1"}), script().calls);
}

TEST_F(Supervisor, keyOrderIsThatOfBytes) {
    for (const char* name : {"a", "Z", "_"}) {
        startAndLetEnd(name, true);
    }
    superviseUntilOneStops(routines);
    EXPECT_EQ((Calls{stoppedLine("Z"), "sleep 1"}), script().calls);
}

TEST_F(Supervisor, doesNotExamineLaterEntriesOfThatPass) {
    startAndLetEnd("alpha", true);
    startAndLetEnd("beta", true);
    const MyRoutine taken(std::move(routines.at("beta")));  // examined, it would log that
    superviseUntilOneStops(routines);
    EXPECT_EQ((Calls{stoppedLine("alpha"), "sleep 1"}), script().calls);
}

TEST_F(Supervisor, clearsTheFlagBeforeItNamesTheRoutine) {
    bool wasRunning = true;
    script().onLogLine = [&wasRunning](const std::string&) { wasRunning = isRunning(); };
    startAndLetEnd("alpha", true);
    superviseUntilOneStops(routines);
    EXPECT_FALSE(wasRunning);
    script().onLogLine = [](const std::string&) {};
}

TEST_F(Supervisor, sleepsASecondAfterEachPassAndLooksAgain) {
    std::atomic<bool> ended{false};
    start("alpha", [&ended] { return eventually([&ended] { return ended.load(); }); });
    onSleep([&ended](unsigned int) { ended = true; });
    superviseUntilOneStops(routines);
    const Calls calls = script().calls;
    ASSERT_LE(3U, calls.size());
    const Calls lastPass(calls.end() - 2, calls.end());
    EXPECT_EQ((Calls{stoppedLine("alpha"), "sleep 1"}), lastPass);
    // One pass before it, or more where the routine was given no time to end.
    EXPECT_EQ(calls.size() - 1, script().count("sleep 1"));
}

TEST_F(Supervisor, flagIsTestedBeforeEachPass) {
    startAndLetEnd("alpha", true);
    TEST_setRunning(false);
    superviseUntilOneStops(routines);
    EXPECT_EQ(Calls{}, script().calls);
}

TEST_F(Supervisor, flagClearedDuringItsSleepEndsItWithoutALine) {
    start("alpha", untilTheFlagIsClear);
    onSleep([](unsigned int) { stopRunning(); });
    superviseUntilOneStops(routines);
    EXPECT_EQ(Calls{"sleep 1"}, script().calls);
}

TEST_F(Supervisor, routineThatCouldNotBeStartedIsFoundAtTheFirstPass) {
    const int first = threadsMade();
    beforeEachThread([first](int number) { return number != first + 1; });
    start("alpha", untilTheFlagIsClear);
    start("beta", untilTheFlagIsClear);
    start("gamma", untilTheFlagIsClear);
    beforeEachThread([](int) { return true; });
    superviseUntilOneStops(routines);
    EXPECT_EQ((Calls{"daemonLog.set koraharemotemond:462 Failed to get thread/future",
                     stoppedLine("beta"), "sleep 1"}),
              script().calls);
}

const Calls writes = {"daemonLog.writeLogToDisk", "recordLog.writeLogToDisk"};

TEST_F(Supervisor, shutDownWritesDaemonLogThenRecordLogBeforeItJoins) {
    std::atomic<bool> sawBoth{false};
    const auto waitsForTheWrites = [&sawBoth] {
        sawBoth = eventually([] { return script().callsSoFar() == writes; });
        logMessage(1, "winding down");
        return true;
    };
    start("alpha", waitsForTheWrites);
    stopRunning();
    shutDown(routines);
    EXPECT_TRUE(sawBoth);
    EXPECT_EQ(writes, script().callsOfThisThread());
    // What a routine adds while it winds down is not flushed.
    EXPECT_EQ("daemonLog.set koraharemotemond:1 winding down", script().calls.back());
    EXPECT_EQ(Calls{"alpha"}, joined());
}

TEST_F(Supervisor, shutDownJoinsEveryRoutineOnceInKeyOrder) {
    for (const char* name : {"gamma", "alpha", "delta", "beta"}) {
        start(name, untilTheFlagIsClear);
    }
    stopRunning();
    shutDown(routines);
    EXPECT_EQ((Calls{"alpha", "beta", "delta", "gamma"}), joined());
}

TEST_F(Supervisor, shutDownJoinsTheOthersWhenOneWasNeverStarted) {
    const int first = threadsMade();
    beforeEachThread([first](int number) { return number != first; });
    start("alpha", untilTheFlagIsClear);
    start("beta", untilTheFlagIsClear);
    beforeEachThread([](int) { return true; });
    stopRunning();
    shutDown(routines);
    EXPECT_EQ(Calls{"beta"}, joined());
}

// What keeps a join from its end is, with these threads, that the joining one is interrupted.
TEST_F(Supervisor, shutDownJoinsTheOthersWhenOneCannotBeJoined) {
    std::atomic<bool> ended{false};
    start("alpha", [&ended] { return eventually([&ended] { return ended.load(); }); });
    start("beta", untilTheFlagIsClear);
    start("gamma", untilTheFlagIsClear);
    stopRunning();
    boost::thread shutter([this] { shutDown(routines); });
    shutter.interrupt();
    shutter.join();
    EXPECT_EQ((Calls{"beta", "gamma"}), joined());
    EXPECT_EQ(
        (Calls{writes[0], writes[1], "daemonLog.set koraharemotemond:493 Failed to join thread"}),
        script().calls);
    ended = true;
}

TEST_F(Supervisor, routineThatDoesNotReturnBlocksTheShutDown) {
    std::atomic<bool> ended{false};
    std::atomic<bool> isDown{false};
    startAndLetEnd("alpha", true);
    start("beta", [&ended] { return eventually([&ended] { return ended.load(); }); });
    stopRunning();
    boost::thread shutter([this, &isDown] {
        shutDown(routines);
        isDown = true;
    });
    EXPECT_TRUE(eventually([] { return script().callsSoFar() == writes; }));
    EXPECT_TRUE(eventually([this] { return joined() == Calls{"alpha"}; }));
    boost::this_thread::sleep_for(boost::chrono::milliseconds(100));
    EXPECT_FALSE(isDown);
    ended = true;
    shutter.join();
    EXPECT_TRUE(isDown);
}

TEST_F(Supervisor, failedFlushDoesNotKeepItFromJoining) {
    script().writeLog = always(false);
    start("alpha", untilTheFlagIsClear);
    stopRunning();
    shutDown(routines);
    EXPECT_EQ(writes, script().calls);
    EXPECT_EQ(Calls{"alpha"}, joined());
    script().writeLog = always(true);
}

}  // namespace
}  // namespace KORA::HA::Daemon
