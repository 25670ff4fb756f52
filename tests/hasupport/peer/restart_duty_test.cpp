// SPDX-License-Identifier: Apache-2.0
#include "hasupport/peer/restart_duty.h"

#include <gtest/gtest.h>
#include <unistd.h>

#include <chrono>
#include <string>
#include <thread>
#include <vector>

#include "hasupport/daemon_log.h"
#include "hasupport/io/deadline.h"
#include "hasupport/peer/peer_requests.h"
#include "hasupport/peer/restart_stamp.h"
#include "peer_link.h"
#include "recorded_restart.h"
#include "tests/support/during_fstat.h"
#include "tests/support/failing_sync.h"
#include "tests/support/told.h"

namespace KORA::HA::Daemon::support {
namespace {

using Calls = std::vector<std::string>;

class RestartDuty : public testing::Test {
  protected:
    void SetUp() override {
        if (::geteuid() != 0) {
            GTEST_SKIP() << "only root's stamps are believed";
        }
        koraha::test::forgetTold();
    }

    /// As if that had been noted so long ago, in an earlier boot.
    static void stampLongAgo(const std::string& path, std::int64_t seconds) {
        RestartStamp stamp = RestartStamp::now("earlier", "");
        stamp.bootId = "another";
        stamp.wallSeconds -= seconds;
        ASSERT_TRUE(writeStamp(path, stamp));
    }

    void expectRefused(const std::string& why, bool unable) {
        const RestartVerdict verdict = obeyRestart("test");
        EXPECT_FALSE(verdict.accepted);
        EXPECT_EQ(verdict.reason, why);
        EXPECT_EQ(verdict.unable, unable);
        // The rate of telling is the process's, which runs other tests too.
        EXPECT_LE(koraha::test::timesTold("refused to restart at the peer's request: " + why), 1U);
    }

    koraha::test::PeerLink link_;
    koraha::test::RecordedRestart restart_;
};

constexpr const char* obeyedLately =
    "this node restarted at the peer's request less than 10 minutes ago";
constexpr const char* asksItself = "this node asks for the peer's restart itself";

TEST_F(RestartDuty, ArmsThenTellsThenStarts) {
    const RestartVerdict verdict = obeyRestart("sda failed");
    EXPECT_TRUE(verdict.accepted) << verdict.reason;
    EXPECT_EQ(restart_.calls,
              (Calls{"arm", "tell restarting at the peer's request: sda failed", "start"}));
}

TEST_F(RestartDuty, IsArmedBeforeADiskThatMayHangIsTouchedAndToldAfter) {
    restart_.onCall = [](const std::string& call) {
        const auto stamp = readStamp(obeyedStampPath()).stamp;
        ASSERT_EQ(stamp.has_value(), call != "arm");
        if (!stamp) {
            return;
        }
        EXPECT_EQ(stamp->reason, "sda failed");
        EXPECT_EQ(stamp->outcome, "obeyed");
    };
    EXPECT_TRUE(obeyRestart("sda failed").accepted);
    EXPECT_EQ(restart_.calls.size(), 3U);
}

// The answer must not wait for the log's disk.
TEST_F(RestartDuty, IsInTheLogOnceThePeerHasItsAnswer) {
    DaemonLog log(link_.path(), "/duty.log");
    restart_.onCall = [&](const std::string& call) {
        if (call.starts_with("tell ")) {
            log.set(call);
        }
    };
    EXPECT_TRUE(obeyRestart("sda failed").accepted);
    EXPECT_EQ(log.size(), 0);
    keepRestartInLog();
    EXPECT_NE(link_.scratch().read("duty.log").find("peer's request: sda failed\n"),
              std::string::npos);
    log.set("a line of another day");
    keepRestartInLog();
    EXPECT_EQ(link_.scratch().read("duty.log").find("another day"), std::string::npos)
        << "it is there once";
}

TEST_F(RestartDuty, IsRefusedWithinTenMinutesOfTheLast) {
    EXPECT_TRUE(obeyRestart("one").accepted);
    expectRefused(obeyedLately, false);
    EXPECT_EQ(restart_.calls.size(), 3U);
    EXPECT_EQ(readStamp(obeyedStampPath()).stamp->reason, "one");
}

TEST_F(RestartDuty, IsRefusedWhateverTheWallClockDoes) {
    for (const std::int64_t step : {-86'400, 86'400}) {
        koraha::test::forgetTold();
        RestartStamp stamp = RestartStamp::now("earlier", "obeyed");
        stamp.wallSeconds += step;
        ASSERT_TRUE(writeStamp(obeyedStampPath(), stamp));
        expectRefused(obeyedLately, false);
    }
    EXPECT_EQ(restart_.calls, Calls{});
}

TEST_F(RestartDuty, IsDoneAgainAfterTenMinutes) {
    stampLongAgo(obeyedStampPath(), 601);
    EXPECT_TRUE(obeyRestart("test").accepted);
    EXPECT_EQ(readStamp(obeyedStampPath()).stamp->reason, "test");
}

TEST_F(RestartDuty, IsRefusedWhileThisNodeAsksItself) {
    {
        const AskingForRestart asking;
        const AskingForRestart twice;
        expectRefused(asksItself, false);
    }
    EXPECT_TRUE(obeyRestart("test").accepted);
}

TEST_F(RestartDuty, IsRefusedJustAfterThisNodeAsked) {
    ASSERT_TRUE(writeStamp(askedStampPath(), RestartStamp::now("", "accepted")));
    expectRefused(asksItself, false);
    stampLongAgo(askedStampPath(), 31);
    // In an earlier boot: only a boot of less than 30 seconds would refuse this.
    EXPECT_TRUE(obeyRestart("test").accepted);
}

TEST_F(RestartDuty, IsRefusedWhenTheStampsCannotBeRead) {
    link_.scratch().write("restart.obeyed", "damaged", 0600);
    expectRefused("when this node last restarted at the peer's request cannot be read", true);
    removeStamp(obeyedStampPath());
    // By no other reason than its disk: the peer may use other means.
    link_.scratch().write("restart.asked", "damaged", 0600);
    expectRefused("when this node last asked for the peer's restart cannot be read", true);
    {
        const AskingForRestart asking;
        expectRefused(asksItself, false);
    }
    EXPECT_EQ(restart_.calls, Calls{});
}

TEST_F(RestartDuty, IsRefusedWhenItsStampCannotBeWritten) {
    link_.settings.stampDirectory = link_.path("no/such/directory");
    expectRefused("the stamp of the restart cannot be written", true);
    EXPECT_EQ(restart_.calls, (Calls{"arm", "disarm"}));
}

// The stamp is in its place, but whether it lasts nobody knows.
TEST_F(RestartDuty, IsForgottenWhenItsStampCannotBeSynced) {
    {
        const koraha::test::FailingDirectorySync sick;
        expectRefused("the stamp of the restart cannot be written", true);
        EXPECT_EQ(restart_.calls, (Calls{"arm", "disarm"}));
        EXPECT_FALSE(readStamp(obeyedStampPath()).stamp);
        EXPECT_FALSE(isAboutToRestart());
        EXPECT_TRUE(obeyRestart("once more").unable) << "nothing counts as obeyed";
    }
    EXPECT_TRUE(obeyRestart("again").accepted);
}

TEST_F(RestartDuty, IsRefusedWhenADiskTookLongerToTellThanThePeerWaits) {
    stampLongAgo(obeyedStampPath(), 3600);
    koraha::test::duringNextFstat([] { std::this_thread::sleep_for(std::chrono::seconds(1)); });
    expectRefused("it took too long to read when this node last restarted", true);
    EXPECT_EQ(restart_.calls, Calls{});
    EXPECT_TRUE(obeyRestart("asked anew").accepted);
}

TEST_F(RestartDuty, IsDoneWithEitherMeansOfTwo) {
    restart_.arms = false;
    EXPECT_TRUE(obeyRestart("orderly only").accepted);
    removeStamp(obeyedStampPath());
    restart_.arms = true;
    restart_.starts = false;
    EXPECT_TRUE(obeyRestart("forced only").accepted);
}

TEST_F(RestartDuty, ThatCannotBeDoneIsNotNotedAsDone) {
    restart_.arms = false;
    restart_.starts = false;
    expectRefused("no restart can be started", true);
    EXPECT_FALSE(readStamp(obeyedStampPath()).stamp);
    restart_.starts = true;
    EXPECT_TRUE(obeyRestart("again").accepted);
}

TEST_F(RestartDuty, BoundsAndCleansThePeersReason) {
    EXPECT_TRUE(obeyRestart("a\n\x1b\xff" + std::string(100'000, 'x')).accepted);
    const std::string clean = "a???" + std::string(396, 'x');
    EXPECT_EQ(restart_.calls.at(1), "tell restarting at the peer's request: " + clean);
    EXPECT_EQ(readStamp(obeyedStampPath()).stamp->reason, clean);
}

TEST_F(RestartDuty, TellsRefusalsAtABoundedRate) {
    EXPECT_TRUE(obeyRestart("test").accepted);
    const auto start = SteadyClock::now();
    for (int i = 0; i < 1000; ++i) {
        EXPECT_FALSE(obeyRestart("again").accepted);
    }
    const auto tens = (SteadyClock::now() - start) / std::chrono::seconds(10);
    EXPECT_LE(koraha::test::timesTold("refused to restart"), 6U + static_cast<unsigned>(tens));
}

TEST_F(RestartDuty, ShowsThatThisNodeIsOnItsWayDown) {
    EXPECT_FALSE(isAboutToRestart());
    stampLongAgo(obeyedStampPath(), 30);
    EXPECT_FALSE(isAboutToRestart()) << "it is back";
    link_.scratch().write("restart.obeyed", "damaged", 0600);
    EXPECT_TRUE(isAboutToRestart()) << "nobody knows";
    removeStamp(obeyedStampPath());
    EXPECT_TRUE(obeyRestart("test").accepted);
    EXPECT_TRUE(isAboutToRestart());
}

TEST_F(RestartDuty, IsAskedForByOneRequestOnlyAndWithProof) {
    Status status;
    EXPECT_EQ(answerPeer(R"({"request":"restart","reason":"x"})", false, status),
              R"({"accepted":false,"reason":"a restart needs the peer key"})");
    for (const char* request : {R"({"request":"Restart"})", R"({"request":["restart"]})",
                                R"(["restart"])", "restart", R"({"restart":true})"}) {
        EXPECT_EQ(answerPeer(request, true, status), R"({"error":"unknown request"})");
    }
    EXPECT_EQ(restart_.calls, Calls{});
    EXPECT_EQ(answerPeer(R"({"request":"restart","reason":{"a":1}})", true, status),
              R"({"accepted":true,"reason":""})");
    EXPECT_EQ(answerPeer(R"({"request":"restart"})", true, status),
              std::string(R"({"accepted":false,"reason":")") + obeyedLately + "\"}");
    removeStamp(obeyedStampPath());
    restart_.arms = restart_.starts = false;
    EXPECT_EQ(answerPeer(R"({"request":"restart"})", true, status),
              R"({"accepted":false,"reason":"no restart can be started","unable":true})");
}

}  // namespace
}  // namespace KORA::HA::Daemon::support
