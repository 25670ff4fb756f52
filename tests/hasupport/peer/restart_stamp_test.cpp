// SPDX-License-Identifier: Apache-2.0
#include "hasupport/peer/restart_stamp.h"

#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <ctime>
#include <limits>
#include <string>

#include "hasupport/io/boot_identity.h"
#include "tests/support/scratch_dir.h"

namespace KORA::HA::Daemon::support {
namespace {

using std::chrono::seconds;

constexpr std::int64_t year = 365LL * 24 * 3600;

class RestartStampTest : public testing::Test {
  protected:
    void SetUp() override {
        if (::geteuid() != 0) {
            GTEST_SKIP() << "only root's stamps are believed";
        }
    }

    std::string path() const { return scratch_.path("restart.asked"); }
    void expectUnreadable() const {
        const StampFile file = readStamp(path());
        EXPECT_FALSE(file.stamp);
        EXPECT_TRUE(file.unreadable);
    }

    koraha::test::ScratchDir scratch_;
};

TEST_F(RestartStampTest, ComesBackAsItWasWritten) {
    RestartStamp stamp = RestartStamp::now("because = of\tsda", "accepted");
    stamp.leftSeconds = 5;
    stamp.backSeconds = 7;
    ASSERT_TRUE(writeStamp(path(), stamp));
    const StampFile file = readStamp(path());
    ASSERT_TRUE(file.stamp);
    EXPECT_FALSE(file.unreadable);
    EXPECT_EQ(file.stamp->bootId, bootIdentity().bootId);
    EXPECT_EQ(file.stamp->bootSeconds, stamp.bootSeconds);
    EXPECT_EQ(file.stamp->wallSeconds, stamp.wallSeconds);
    EXPECT_EQ(file.stamp->reason, "because = of sda");
    EXPECT_EQ(file.stamp->outcome, "accepted");
    EXPECT_EQ(file.stamp->leftSeconds, 5);
    EXPECT_EQ(file.stamp->backSeconds, 7);
    struct stat info {};
    ASSERT_EQ(::stat(path().c_str(), &info), 0);
    EXPECT_EQ(info.st_mode & 07777U, 0600U);
}

TEST_F(RestartStampTest, ReplacesItsPredecessorAndLeavesNothingBeside) {
    ASSERT_TRUE(writeStamp(path(), RestartStamp::now("one", "")));
    scratch_.write("restart.asked.new", "left by a crash");
    ASSERT_TRUE(writeStamp(path(), RestartStamp::now("two", "")));
    EXPECT_EQ(readStamp(path()).stamp->reason, "two");
    EXPECT_NE(::access((path() + ".new").c_str(), F_OK), 0);
}

TEST_F(RestartStampTest, ThatIsMissingIsNone) {
    const StampFile file = readStamp(path());
    EXPECT_FALSE(file.stamp);
    EXPECT_FALSE(file.unreadable);
}

TEST_F(RestartStampTest, IsUnreadableAtEveryTruncation) {
    ASSERT_TRUE(writeStamp(path(), RestartStamp::now("reason", "outcome")));
    const std::string whole = scratch_.read("restart.asked");
    for (std::size_t length = 0; length + 1 < whole.size(); ++length) {
        scratch_.write("restart.asked", whole.substr(0, length), 0600);
        expectUnreadable();
    }
}

TEST_F(RestartStampTest, IsUnreadableWhenItIsNotWhatThisProgramWrites) {
    const std::string good = "bootId=x\nwallSeconds=1\nend\n";
    scratch_.write("restart.asked", good, 0600);
    EXPECT_TRUE(readStamp(path()).stamp);
    for (const char* line :
         {"wallSeconds=", "wallSeconds=x", "wallSeconds=1x", "wallSeconds=-1", "wallSeconds= 1",
          "bootSeconds=-9223372036854775808", "wallSeconds=9223372036854775807",
          "leftSeconds=99999999999999999999", "backSeconds=1e3", "no sign of a member"}) {
        scratch_.write("restart.asked", line + std::string("\n") + good, 0600);
        expectUnreadable();
    }
    scratch_.write("restart.asked", "later=member\n" + good, 0600);
    EXPECT_TRUE(readStamp(path()).stamp) << "later releases may note more";
    scratch_.write("restart.asked", std::string(5000, 'x') + "\nend\n", 0600);
    expectUnreadable();
}

TEST_F(RestartStampTest, IsUnreadableWhenOthersMayHaveWrittenIt) {
    scratch_.write("restart.asked", "end\n", 0622);
    expectUnreadable();
    ::chmod(path().c_str(), 0600);
    ASSERT_EQ(::chown(path().c_str(), 65534, 0), 0);
    expectUnreadable();
    ::unlink(path().c_str());
    ASSERT_EQ(::symlink("/proc/self/status", path().c_str()), 0);
    expectUnreadable();
    ::unlink(path().c_str());
    ASSERT_EQ(::mkdir(path().c_str(), 0700), 0);
    expectUnreadable();
}

TEST_F(RestartStampTest, ThatCannotBeWrittenSaysSo) {
    EXPECT_FALSE(writeStamp(scratch_.path("no/such/directory/restart.asked"), RestartStamp()));
    ASSERT_EQ(::mkdir(path().c_str(), 0700), 0);
    EXPECT_FALSE(writeStamp(path(), RestartStamp()));
    EXPECT_FALSE(writeStamp("/dev/full/restart.asked", RestartStamp()));
}

TEST_F(RestartStampTest, BoundsAndFlattensItsTexts) {
    RestartStamp stamp =
        RestartStamp::now("a\nend\nb=\x01" + std::string(100'000, 'x'), std::string(100'000, '\n'));
    ASSERT_TRUE(writeStamp(path(), stamp));
    const auto got = readStamp(path()).stamp;
    ASSERT_TRUE(got);
    EXPECT_EQ(got->reason.substr(0, 9), "a end b= ");
    EXPECT_EQ(got->reason.size(), 500U);
    EXPECT_EQ(got->outcome, std::string(500, ' '));
}

TEST_F(RestartStampTest, IsWithdrawnOnlyWhereItStands) {
    const RestartStamp stamp = RestartStamp::now("a\tb" + std::string(1000, 'x'), "one");
    withdrawStamp(path(), stamp);
    ASSERT_TRUE(writeStamp(path(), RestartStamp::now("older", "")));
    withdrawStamp(path(), stamp);
    EXPECT_TRUE(readStamp(path()).stamp) << "it is another";
    ASSERT_TRUE(writeStamp(path(), stamp));
    withdrawStamp(path(), stamp);
    EXPECT_FALSE(readStamp(path()).stamp);
}

TEST_F(RestartStampTest, CanBeTakenBack) {
    ASSERT_TRUE(writeStamp(path(), RestartStamp::now("", "")));
    EXPECT_TRUE(removeStamp(path()));
    EXPECT_FALSE(readStamp(path()).unreadable);
    EXPECT_FALSE(readStamp(path()).stamp);
    EXPECT_FALSE(removeStamp(path()));
}

TEST(RestartStampAge, InTheSameBootIgnoresStepsOfTheWallClock) {
    for (const std::int64_t step : {std::int64_t{0}, year, -year, 10 * year}) {
        RestartStamp stamp = RestartStamp::now("", "");
        stamp.wallSeconds += step;
        EXPECT_LE(stamp.age(), seconds(60));
        EXPECT_GE(stamp.age(), seconds(0));
        stamp.bootSeconds = 0;
        EXPECT_GE(stamp.age(), seconds(bootIdentity().bootSeconds - 60));
    }
}

TEST(RestartStampAge, AfterAnotherBootGoesByTheWallClock) {
    RestartStamp stamp = RestartStamp::now("", "");
    stamp.bootId = "another";
    const std::int64_t longAgo = bootIdentity().bootSeconds + 10'000;
    stamp.wallSeconds -= longAgo;
    EXPECT_GE(stamp.age(), seconds(longAgo));
    EXPECT_LE(stamp.age(), seconds(longAgo + 60));
}

TEST(RestartStampAge, AfterAnotherBootIsAtLeastThisBoot) {
    RestartStamp stamp = RestartStamp::now("", "");
    stamp.bootId = "another";
    for (const std::int64_t wall : {stamp.wallSeconds, stamp.wallSeconds + year}) {
        stamp.wallSeconds = wall;  // the clock was set back since
        EXPECT_GE(stamp.age(), seconds(bootIdentity().bootSeconds - 60));
        EXPECT_LE(stamp.age(), seconds(bootIdentity().bootSeconds + 60));
    }
}

}  // namespace
}  // namespace KORA::HA::Daemon::support
