// SPDX-License-Identifier: Apache-2.0
#include "hasupport/peer/restart_progress.h"

#include <gtest/gtest.h>
#include <unistd.h>

#include <string>

#include "hasupport/daemon_log.h"
#include "hasupport/peer/restart_record.h"
#include "peer_link.h"
#include "tests/support/failing_sync.h"

namespace KORA::HA::Daemon::support {
namespace {

class RestartProgressTest : public testing::Test {
  protected:
    void SetUp() override {
        if (::geteuid() != 0) {
            GTEST_SKIP() << "only root's stamps are believed";
        }
        TEST_forgetRestartProgress();
    }

    static RestartStamp asked(const std::string& outcome) {
        RestartStamp stamp = RestartStamp::now("sda failed", "requested");
        EXPECT_TRUE(noteRestartAsked(stamp));
        stamp.outcome = outcome;
        noteRestartOutcome(stamp);
        return stamp;
    }

    static std::string onDisk() {
        const auto stamp = readStamp(askedStampPath()).stamp;
        return stamp ? stamp->outcome : "nothing";
    }
    static std::string told() {
        const auto record = lastRestart();
        return record ? record->outcome : "nothing";
    }

    koraha::test::PeerLink link_;
};

TEST_F(RestartProgressTest, IsNothingBeforeTheFirstRestart) {
    keepRestartProgress();
    noteRestartProgress(true);
    noteRestartProgress(false);
    keepRestartProgress();
    EXPECT_EQ(told(), "nothing");
    EXPECT_EQ(onDisk(), "nothing");
}

TEST_F(RestartProgressTest, FollowsThePeerDownAndUp) {
    asked("accepted");
    EXPECT_EQ(onDisk(), "accepted");
    noteRestartProgress(true);
    EXPECT_EQ(told(), "accepted");
    noteRestartProgress(false);
    EXPECT_EQ(told(), "left");
    EXPECT_TRUE(lastRestart()->leftAt);
    EXPECT_FALSE(lastRestart()->backAt);
    noteRestartProgress(false);
    noteRestartProgress(true);
    EXPECT_EQ(told(), "back");
    EXPECT_TRUE(lastRestart()->backAt);
    noteRestartProgress(false);
    noteRestartProgress(true);
    EXPECT_EQ(told(), "back") << "later troubles are none of this restart";
    keepRestartProgress();
    EXPECT_EQ(onDisk(), "back");
    EXPECT_EQ(told(), "back");
    EXPECT_TRUE(lastRestart()->leftAt);
}

// The probe has a second, and a disk may hang.
TEST_F(RestartProgressTest, IsNotedWithoutTheDiskAndKeptByTheNextFlushOfALog) {
    asked("accepted");
    noteRestartProgress(false);
    EXPECT_EQ(told(), "left");
    EXPECT_EQ(onDisk(), "accepted") << "the probe waits for no disk";
    DaemonLog log(link_.path(), "/progress.log");
    EXPECT_TRUE(log.writeLogToDisk());
    EXPECT_EQ(onDisk(), "left");
    noteRestartProgress(true);
    EXPECT_EQ(told(), "back");
    EXPECT_EQ(onDisk(), "left");
    EXPECT_TRUE(log.writeLogToDisk());
    EXPECT_EQ(onDisk(), "back");
}

TEST_F(RestartProgressTest, GoesOnInTheNextProcess) {
    asked("accepted");
    TEST_forgetRestartProgress();
    noteRestartProgress(false);
    EXPECT_EQ(told(), "accepted") << "what is on disk is not known yet";
    keepRestartProgress();
    noteRestartProgress(false);
    keepRestartProgress();
    TEST_forgetRestartProgress();
    EXPECT_EQ(told(), "left");
    keepRestartProgress();
    noteRestartProgress(true);
    keepRestartProgress();
    EXPECT_EQ(onDisk(), "back");
    EXPECT_NE(readStamp(askedStampPath()).stamp->leftSeconds, 0);
}

TEST_F(RestartProgressTest, IsKeptOnceTheDiskTakesItAgain) {
    const RestartStamp stamp = asked("accepted");
    // Where the fresh stamp is written, something lies that cannot be replaced.
    link_.scratch().write("restart.asked.new/in the way", "");
    noteRestartProgress(false);
    keepRestartProgress();
    EXPECT_EQ(onDisk(), "accepted");
    EXPECT_EQ(told(), "left");
    noteRestartProgress(true);
    std::filesystem::remove_all(link_.path("restart.asked.new"));
    keepRestartProgress();
    EXPECT_EQ(onDisk(), "back");
    EXPECT_FALSE(progressSince(stamp)) << "all of it is on disk";
}

TEST_F(RestartProgressTest, OfARestartThatCouldNotBeNotedIsNone) {
    const RestartStamp stamp = RestartStamp::now("sda failed", "requested");
    {
        const koraha::test::FailingDirectorySync sick;
        EXPECT_FALSE(noteRestartAsked(stamp));
        EXPECT_FALSE(restartAskedWithin(std::chrono::minutes(15))) << "nobody was asked";
        EXPECT_EQ(told(), "nothing");
    }
    asked("accepted");
    const koraha::test::FailingDirectorySync sick;
    EXPECT_FALSE(noteRestartAsked(stamp));
    EXPECT_EQ(told(), "nothing") << "its predecessor was replaced before";
}

TEST_F(RestartProgressTest, ThatIsNotSyncedCountsAllTheSame) {
    const RestartStamp stamp = asked("accepted");
    const koraha::test::FailingDirectorySync sick;
    noteRestartProgress(false);
    keepRestartProgress();
    EXPECT_TRUE(restartAskedWithin(std::chrono::minutes(15)));
    EXPECT_EQ(told(), "left");
    EXPECT_TRUE(progressSince(stamp)) << "it is written again";
}

TEST_F(RestartProgressTest, IsFollowedOnlyOfARestartThatWasAccepted) {
    for (const char* outcome : {"refused: not now", "no answer in time"}) {
        asked(outcome);
        noteRestartProgress(true);
        noteRestartProgress(false);
        noteRestartProgress(true);
        EXPECT_EQ(told(), outcome);
    }
}

TEST_F(RestartProgressTest, TakesNoLaterOutageForItsOwn) {
    RestartStamp stamp = RestartStamp::now("sda failed", "accepted");
    stamp.bootId = "another";
    stamp.wallSeconds -= 11 * 60;
    ASSERT_TRUE(writeStamp(askedStampPath(), stamp));
    keepRestartProgress();
    noteRestartProgress(false);
    noteRestartProgress(true);
    EXPECT_EQ(told(), "accepted");
}

TEST_F(RestartProgressTest, LeavesAStampAloneThatNobodyCanRead) {
    asked("accepted");
    link_.scratch().write("restart.asked", "damaged", 0600);
    noteRestartProgress(false);
    keepRestartProgress();
    EXPECT_EQ(link_.scratch().read("restart.asked"), "damaged");
}

TEST_F(RestartProgressTest, BringsNoStampBackThatWasTakenAway) {
    asked("accepted");
    noteRestartProgress(false);
    ASSERT_TRUE(removeStamp(askedStampPath()));
    keepRestartProgress();
    noteRestartProgress(true);
    keepRestartProgress();
    EXPECT_EQ(onDisk(), "nothing");
    EXPECT_EQ(told(), "nothing");
}

}  // namespace
}  // namespace KORA::HA::Daemon::support
