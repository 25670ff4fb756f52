// SPDX-License-Identifier: Apache-2.0
#include "daemon/routine_table.h"

#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <string>
#include <vector>

#include "log/process_objects.h"
#include "log/running_flag.h"
#include "tests/daemon/support/eight_routines.h"
#include "tests/daemon/support/eventually.h"
#include "tests/daemon/support/own_system.h"
#include "tests/daemon/support/thread_calls.h"
#include "tests/daemon/support/virtual_time.h"
#include "tests/scripted/script.h"

namespace KORA::HA::Daemon {
namespace {

using namespace koraha::test;

bool wasCalled(const StartedRoutine& routine) {
    return script().count(routine.firstCall.c_str()) > 0;
}

// Answers that keep every routine going, and busy with its whole work from the first pass on.
void keepAllBusy(Status& status) {
    makeSleepsReallyLast(std::chrono::milliseconds(5));
    configure(R"({"TOLERANCE_TIMES_OF_HB_LATENCY": 0})");
    const auto slowly = [](const auto&...) {
        boost::this_thread::sleep_for(boost::chrono::milliseconds(5));
        return true;
    };
    script().bind = always(true);
    script().listen = slowly;
    script().socketServer = slowly;
    script().remoteAlive = always(true);
    script().latency = always(500.0F);
    status.hbLatency = 500.0F;
}

void endAll(RoutineTable& routines) {
    stopRunning();
    for (auto& [name, routine] : routines) {
        routine.join();
    }
}

TEST(StartRoutines, startsTheEightInTheirOrderEachAtOnceInAThreadOfItsOwn) {
    inOwnSystem([] {
        Status status;
        keepAllBusy(status);
        const auto& all = eightRoutines();
        const int first = threadsMade();
        beforeEachThread([&](int number) {
            const auto started = static_cast<std::size_t>(number - first);
            EXPECT_TRUE(started == 0 || eventually([&] { return wasCalled(all.at(started - 1)); }));
            for (std::size_t later = started; later < all.size(); ++later) {
                EXPECT_FALSE(wasCalled(all.at(later))) << all.at(later).name;
            }
            return true;
        });
        RoutineTable routines = startRoutines(status);
        EXPECT_EQ(8, threadsMade() - first);
        EXPECT_TRUE(eventually([&] { return wasCalled(all.back()); }));
        endAll(routines);
    });
}

TEST(StartRoutines, keepsThemUnderTheirNamesInByteOrder) {
    inOwnSystem([] {
        Status status;
        keepAllBusy(status);
        RoutineTable routines = startRoutines(status);
        std::vector<std::string> names;
        for (const auto& [name, routine] : routines) {
            names.push_back(name);
        }
        EXPECT_EQ(namesInKeyOrder(), names);
        endAll(routines);
        for (auto& [name, routine] : routines) {
            EXPECT_EQ(2, routine.getState()) << name;
        }
        EXPECT_EQ(0U, script().count("daemonLog.set koraharemotemond:4"));
    });
}

TEST(StartRoutines, eachNameStandsForItsOwnRoutine) {
    inOwnSystem([] {
        Status status;
        keepAllBusy(status);
        for (const StartedRoutine& only : eightRoutines()) {
            const int first = threadsMade();
            const auto number = static_cast<int>(&only - eightRoutines().data());
            beforeEachThread([=](int each) { return each == first + number; });
            TEST_setRunning(true);
            RoutineTable routines = startRoutines(status);
            EXPECT_TRUE(eventually([&] { return wasCalled(only); }));
            stopRunning();
            for (auto& [name, routine] : routines) {
                const std::size_t joinsBefore = threadsJoined().size();
                routine.join();
                EXPECT_EQ(name == only.name, threadsJoined().size() > joinsBefore)
                    << name << " runs " << only.name;
            }
            script().forgetCalls();
        }
    });
}

TEST(StartRoutines, sharesTheOneStatusWithAllThatTakeIt) {
    inOwnSystem([] {
        Status status;
        keepAllBusy(status);
        std::atomic<Status*> served{nullptr};
        std::atomic<Status*> recorded{nullptr};
        std::atomic<Status*> rebooted{nullptr};
        script().socketServer = [&](Status& given) {
            served = &given;
            boost::this_thread::sleep_for(boost::chrono::milliseconds(5));
            return true;
        };
        script().recordStatus = [&](Status& given) { return recorded = &given, true; };
        script().rebootRemote = [&](Status& given) { return rebooted = &given, true; };
        script().drbdConnected = always(true);
        script().mdResync = always(true);
        script().diskErrHandling = reports({"sdb"});
        script().remoteDiskErrHandling = reports({"sda"});
        RoutineTable routines = startRoutines(status);
        // monitorEnv restarts the peer for what nonBlockCheck found and busyFlagControl allowed.
        EXPECT_TRUE(eventually([&] { return rebooted.load() == &status; }));
        EXPECT_TRUE(eventually([&] { return served.load() == &status; }));
        EXPECT_TRUE(eventually([&] { return recorded.load() == &status; }));
        EXPECT_TRUE(eventually([&] { return status.localMDResync && status.drbdConnected; }));
        EXPECT_TRUE(status.localDiskErrHandling);
        EXPECT_TRUE(status.isRemoteAlive());
        endAll(routines);
        EXPECT_EQ(&sharedStatus(), script().attached);
    });
}

TEST(StartRoutines, oneThatCouldNotBeStartedIsInTheTableAndReportsItselfAsStopped) {
    inOwnSystem([] {
        Status status;
        const int first = threadsMade();
        beforeEachThread([](int) { return false; });
        RoutineTable routines = startRoutines(status);
        EXPECT_EQ(8, threadsMade() - first);
        EXPECT_EQ(8U, routines.size());
        for (auto& [name, routine] : routines) {
            EXPECT_EQ(2, routine.getState()) << name;
        }
        EXPECT_EQ(std::vector<std::string>(8, "koraharemotemond:462 Failed to get thread/future"),
                  script().logLines);
        EXPECT_EQ(8U, script().calls.size());
    });
}

}  // namespace
}  // namespace KORA::HA::Daemon
