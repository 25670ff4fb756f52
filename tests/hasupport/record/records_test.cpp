// SPDX-License-Identifier: Apache-2.0
#include "hasupport/records.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <optional>
#include <string>

#include "hasupport/daemon_log.h"
#include "hasupport/logfile/registry.h"
#include "tests/support/scratch_dir.h"

namespace {

using KORA::HA::Daemon::DaemonLog;
using KORA::HA::Daemon::Status;
using koraha::test::ScratchDir;
using ::testing::HasSubstr;
using ::testing::Not;

TEST(Records, GoIntoTheRecordLogAndNoOther) {
    const ScratchDir dir;
    DaemonLog other(dir.path(), "/test.log");
    DaemonLog records(dir.path(), "/test.record");
    ASSERT_EQ(KORA::HA::Daemon::support::recordLog(), &records);
    Status status;
    EXPECT_TRUE(KORA::HA::Daemon::recordMemoryInfo());
    EXPECT_TRUE(KORA::HA::Daemon::recordPS());
    EXPECT_TRUE(KORA::HA::Daemon::recordDF());
    EXPECT_TRUE(KORA::HA::Daemon::recordStatus(status));
    EXPECT_TRUE(records.writeLogToDisk());
    EXPECT_TRUE(other.writeLogToDisk());
    const std::string text = dir.read("test.record");
    EXPECT_THAT(text, HasSubstr("record=memory MemTotal_kB="));
    EXPECT_THAT(text, HasSubstr("record=processes processes="));
    EXPECT_THAT(text, HasSubstr("record=status remoteAlive=false"));
    EXPECT_THAT(text, HasSubstr("record=reading name=hbLatency valid="));
    EXPECT_THAT(dir.read("test.log"), Not(HasSubstr("record=")));
}

TEST(Records, WithoutARecordLogTheyFail) {
    ASSERT_EQ(KORA::HA::Daemon::support::recordLog(), nullptr);
    Status status;
    EXPECT_FALSE(KORA::HA::Daemon::recordMemoryInfo());
    EXPECT_FALSE(KORA::HA::Daemon::recordPS());
    EXPECT_FALSE(KORA::HA::Daemon::recordDF());
    EXPECT_FALSE(KORA::HA::Daemon::recordStatus(status));
}

}  // namespace
