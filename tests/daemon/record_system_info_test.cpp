// SPDX-License-Identifier: Apache-2.0
#include "log/upkeep/record_system_info.h"

#include <gtest/gtest.h>

#include "log/running_flag.h"
#include "tests/daemon/support/calls.h"
#include "tests/daemon/support/own_system.h"
#include "tests/daemon/support/virtual_time.h"
#include "tests/scripted/script.h"

namespace KORA::HA::Daemon {
namespace {

using namespace koraha::test;

const Calls records{"recordMemoryInfo", "recordPS", "recordDF", "recordStatus"};

TEST(RecordSystemInfo, eachPassRecordsMemoryProcessesDiskUsageAndStatusThenSleeps) {
    inOwnSystem([] {
        Status status;
        stopAfterSleeps(3);
        EXPECT_FALSE(recordSystemInfo(status));
        EXPECT_EQ(repeated(3, records + Calls{"sleep 60"}), script().calls);
    });
}

TEST(RecordSystemInfo, statusIsTheSharedOneThatItWasGiven) {
    inOwnSystem([] {
        Status status;
        Status* recorded = nullptr;
        script().recordStatus = [&recorded](Status& given) {
            recorded = &given;
            return true;
        };
        stopAfterSleeps(1);
        recordSystemInfo(status);
        EXPECT_EQ(&status, recorded);
    });
}

TEST(RecordSystemInfo, failuresAreIgnoredAndNotLogged) {
    inOwnSystem([] {
        Status status;
        script().memoryInfo = always(false);
        script().processes = always(false);
        script().diskUsage = always(false);
        script().recordStatus = always(false);
        stopAfterSleeps(2);
        EXPECT_FALSE(recordSystemInfo(status));
        EXPECT_EQ(repeated(2, records + Calls{"sleep 60"}), script().calls);
    });
}

TEST(RecordSystemInfo, intervalIsReadAnewAtEachPass) {
    inOwnSystem([] {
        Status status;
        onSleep([](unsigned int) { configure(R"({"BASE_INTERVAL_RECORD_ENV": -1})"); });
        stopAfterSleeps(2);
        recordSystemInfo(status);
        EXPECT_EQ((Calls{"sleep 60", "sleep 4294967295"}), script().callsOf({"sleep"}));
    });
}

TEST(RecordSystemInfo, flagClearedDuringASleepRecordsNothingMore) {
    inOwnSystem([] {
        Status status;
        onSleep([](unsigned int) { stopRunning(); });
        EXPECT_FALSE(recordSystemInfo(status));
        EXPECT_EQ(records + Calls{"sleep 60"}, script().calls);
    });
}

TEST(RecordSystemInfo, flagThatIsAlreadyClearRecordsNothing) {
    inOwnSystem([] {
        Status status;
        TEST_setRunning(false);
        EXPECT_FALSE(recordSystemInfo(status));
        EXPECT_EQ(Calls{}, script().calls);
    });
}

}  // namespace
}  // namespace KORA::HA::Daemon
