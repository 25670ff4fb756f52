// SPDX-License-Identifier: Apache-2.0
#include "hasupport/peer/restart_record.h"

#include <gtest/gtest.h>
#include <unistd.h>

#include <algorithm>
#include <string>

#include "hasupport/local_probes.h"
#include "hasupport/peer/restart_stamp.h"
#include "hasupport/probe/constraints.h"
#include "peer_link.h"

namespace KORA::HA::Daemon::support {
namespace {

using std::chrono::seconds;
using namespace std::chrono_literals;

class RestartRecordTest : public testing::Test {
  protected:
    void SetUp() override {
        if (::geteuid() != 0) {
            GTEST_SKIP() << "only root's stamps are believed";
        }
    }

    static void ask(const std::string& outcome) {
        ASSERT_TRUE(writeStamp(askedStampPath(), RestartStamp::now("sda failed", outcome)));
    }

    /// As if the restart had been asked for that long ago, in an earlier boot.
    static void askLongAgo(seconds ago) {
        RestartStamp stamp = RestartStamp::now("sda failed", "accepted");
        stamp.bootId = "another";
        stamp.wallSeconds -= ago.count();
        ASSERT_TRUE(writeStamp(askedStampPath(), stamp));
    }

    static bool constrainedBy(const std::string& sentence) {
        const auto reasons = currentConstraints();
        return std::find(reasons.begin(), reasons.end(), sentence) != reasons.end();
    }

    koraha::test::PeerLink link_;
};

TEST_F(RestartRecordTest, IsNothingBeforeTheFirstRestart) {
    EXPECT_FALSE(lastRestart());
    EXPECT_FALSE(restartAskedWithin(15min));
}

TEST_F(RestartRecordTest, TellsTheRestart) {
    ask("accepted");
    const auto record = lastRestart();
    ASSERT_TRUE(record);
    EXPECT_EQ(record->reason, "sda failed");
    EXPECT_EQ(record->outcome, "accepted");
    EXPECT_LE(record->askedAgo, 60s);
    EXPECT_LE(record->askedAt, std::chrono::system_clock::now());
    EXPECT_FALSE(record->leftAt);
    EXPECT_FALSE(record->backAt);
}

TEST_F(RestartRecordTest, ForbidsAnotherForFifteenMinutes) {
    const std::string sentence =
        "This node asked for a restart of the peer less than 15 minutes ago.";
    EXPECT_FALSE(constrainedBy(sentence));
    for (const char* outcome : {"requested", "accepted", "no answer in time"}) {
        ask(outcome);
        EXPECT_TRUE(restartAskedWithin(15min)) << outcome;
        EXPECT_TRUE(constrainedBy(sentence));
        EXPECT_TRUE(isHadConstraints());
    }
}

TEST_F(RestartRecordTest, ForbidsAnotherWhateverTheWallClockDoes) {
    for (const std::int64_t step : {-86'400, 86'400}) {
        RestartStamp stamp = RestartStamp::now("", "accepted");
        stamp.wallSeconds += step;
        ASSERT_TRUE(writeStamp(askedStampPath(), stamp));
        EXPECT_TRUE(restartAskedWithin(15min));
        EXPECT_TRUE(isHadConstraints());
    }
}

TEST_F(RestartRecordTest, ForbidsNothingLater) {
    askLongAgo(16min);
    EXPECT_FALSE(restartAskedWithin(15min));
    EXPECT_TRUE(restartAskedWithin(24h * 365 * 100));
}

TEST_F(RestartRecordTest, ThatNobodyCanReadForbids) {
    link_.scratch().write("restart.asked", "damaged", 0600);
    EXPECT_FALSE(lastRestart());
    EXPECT_TRUE(restartAskedWithin(15min));
    EXPECT_TRUE(isHadConstraints());
}

TEST_F(RestartRecordTest, MaintenanceForbidsToo) {
    const std::string sentence =
        "This node is under maintenance (" + link_.path("maintenance") + " exists).";
    EXPECT_FALSE(constrainedBy(sentence));
    link_.scratch().write("maintenance", "");
    EXPECT_TRUE(constrainedBy(sentence));
    EXPECT_TRUE(isHadConstraints());
}

}  // namespace
}  // namespace KORA::HA::Daemon::support
