// SPDX-License-Identifier: Apache-2.0
#include "hasupport/kernel/drbdsetup.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <chrono>
#include <filesystem>
#include <string>
#include <thread>
#include <vector>

#include "hasupport/kernel/drbd_view.h"
#include "tests/support/scratch_dir.h"
#include "tests/support/small_stack.h"
#include "tests/support/test_data.h"

namespace KORA::HA::Daemon::support {
namespace {

using std::chrono::seconds;

constexpr Milliseconds patient = seconds(60);

class DrbdsetupTest : public testing::Test {
  protected:
    /// A drbdsetup that a shell script plays.
    std::string script(const std::string& body) const {
        return scratch_.write("drbdsetup", "#!/bin/sh\n" + body, 0755);
    }

    DrbdView view(const std::string& script) const {
        const std::string proc = koraha::test::testText("written/drbd9-proc-drbd");
        scratch_.write("proc/drbd", proc);
        Drbdsetup drbdsetup({script}, patient);
        return readDrbd({scratch_.path("proc"), "/nonexistent"}, drbdsetup, "192.0.2.2");
    }

    koraha::test::ScratchDir scratch_;
};

TEST_F(DrbdsetupTest, isRunWithItsWordsAndNothingElse) {
    Drbdsetup drbdsetup({"/nonexistent", script("echo \"$@\"; ls /proc/$$/fd; env | sort\n")},
                        patient);
    const DrbdsetupOutput output = drbdsetup.events();
    EXPECT_EQ(output.failure, "");
    // 10 is how dash keeps the script itself open.
    EXPECT_THAT(output.text, testing::StartsWith("events2 --now all\n0\n1\n"));
    EXPECT_THAT(output.text, testing::HasSubstr("LC_ALL=C\n"));
    EXPECT_THAT(output.text, testing::Not(testing::HasSubstr("HOME=")));
}

TEST_F(DrbdsetupTest, answersForDrbd9) {
    const std::string sample = koraha::test::testData("written/drbd9-events2-connected");
    const DrbdView drbd = view(script("cat " + sample + "\n"));
    EXPECT_EQ(drbd.answer, DrbdView::Answer::known) << drbd.reason;
    ASSERT_EQ(drbd.resources.size(), 1U);
    EXPECT_TRUE(drbd.resources[0].established);
}

TEST_F(DrbdsetupTest, isNotAskedForDrbd8) {
    Drbdsetup drbdsetup({script("touch " + scratch_.path("asked") + "\n")}, patient);
    const DrbdView drbd = readDrbd(koraha::test::capturedRoots("drbd-unconfigured"), drbdsetup, {});
    EXPECT_EQ(drbd.answer, DrbdView::Answer::known);
    EXPECT_FALSE(std::filesystem::exists(scratch_.path("asked")));
}

TEST_F(DrbdsetupTest, halfAnAnswerIsNone) {
    const DrbdView drbd = view(script("echo 'exists resource name:r0'; exit 20\n"));
    EXPECT_EQ(drbd.answer, DrbdView::Answer::unknown);
    EXPECT_EQ(drbd.reason, "the answer of drbdsetup is not understood");
}

TEST_F(DrbdsetupTest, whatCannotBeRunSaysSo) {
    EXPECT_EQ(view("/nonexistent/drbdsetup").reason,
              "drbdsetup cannot be run: No such file or directory");
    EXPECT_EQ(view(scratch_.write("plain", "#!/bin/sh\n", 0644)).reason,
              "drbdsetup cannot be run: Permission denied");
}

TEST_F(DrbdsetupTest, isEndedAtItsDeadline) {
    const std::string pid = scratch_.path("pid");
    Drbdsetup drbdsetup({script("echo $$ > " + pid + "; echo begun; sleep 600\n")},
                        Milliseconds(1000));
    const auto begin = SteadyClock::now();
    EXPECT_EQ(drbdsetup.events().failure, "drbdsetup did not answer in time");
    EXPECT_LT(SteadyClock::now() - begin, seconds(60));
    if (std::filesystem::exists(pid)) {
        EXPECT_FALSE(
            std::filesystem::exists("/proc/" + std::to_string(std::stoi(scratch_.read("pid")))));
    }
}

TEST_F(DrbdsetupTest, floodsAreCutOff) {
    Drbdsetup drbdsetup({script("exec yes exists\n")}, patient);
    koraha::test::onSmallStack(
        [&] { EXPECT_EQ(drbdsetup.events().failure, "drbdsetup printed too much"); });
}

TEST_F(DrbdsetupTest, neverRunsTwiceAtOnce) {
    const std::string lock = scratch_.path("running");
    Drbdsetup drbdsetup(
        {script("mkdir " + lock + " || exit; echo alone; sleep 0.1; rmdir " + lock + "\n")},
        patient);
    std::vector<std::thread> askers;
    std::vector<DrbdsetupOutput> outputs(4);
    for (auto& output : outputs) {
        askers.emplace_back([&] { output = drbdsetup.events(); });
    }
    for (auto& asker : askers) {
        asker.join();
    }
    for (const auto& output : outputs) {
        EXPECT_EQ(output.text, "alone\n") << output.failure;
    }
}

}  // namespace
}  // namespace KORA::HA::Daemon::support
