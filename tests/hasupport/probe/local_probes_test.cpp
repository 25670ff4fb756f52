// SPDX-License-Identifier: Apache-2.0
// The probes as the daemon calls them, with captured kernel files where the kernel's own are.
#include "hasupport/local_probes.h"

#include <gtest/gtest.h>
#include <json/value.h>

#include <algorithm>
#include <string>

#include "hasupport/probe/constraints.h"
#include "hasupport/status/readings.h"
#include "tests/support/covered_kernel.h"
#include "tests/support/scratch_dir.h"
#include "tests/support/small_stack.h"
#include "tests/support/test_data.h"

namespace KORA::HA::Daemon {
namespace {

using support::Reading;
using support::readingState;

void inState(const std::string& state, const std::function<void()>& body) {
    const auto roots = koraha::test::capturedRoots(state);
    koraha::test::withKernelFiles(roots.proc, roots.sys, [&] { koraha::test::onSmallStack(body); });
}

/// What an earlier pass left in the daemon's value.
Json::Value leftover() {
    Json::Value disks(Json::arrayValue);
    disks.append("old");
    return disks;
}

bool has(const std::vector<std::string>& reasons, const std::string& reason) {
    return std::find(reasons.begin(), reasons.end(), reason) != reasons.end();
}

TEST(LocalProbes, tellAConnectedMirror) {
    inState("drbd-syncsource", [] {
        EXPECT_TRUE(isDRBDConnect());
        EXPECT_TRUE(readingState(Reading::drbdConnected).valid);
        EXPECT_FALSE(isMDResync());
        EXPECT_TRUE(readingState(Reading::localMDResync).valid);
        Json::Value disks = leftover();
        EXPECT_FALSE(isDiskErrHandling(disks));
        EXPECT_EQ(disks, Json::Value(Json::arrayValue));
        EXPECT_TRUE(readingState(Reading::localDiskErrHandling).valid);
    });
}

TEST(LocalProbes, tellALostMirror) {
    inState("drbd-wfconnection-peer-gone", [] {
        EXPECT_FALSE(isDRBDConnect());
        EXPECT_TRUE(readingState(Reading::drbdConnected).valid);
        EXPECT_TRUE(isHadConstraints());
        EXPECT_TRUE(has(support::currentConstraints(),
                        "DRBD resource drbd0 is not connected to the peer."));
    });
}

TEST(LocalProbes, absentModulesAreGoodReadings) {
    inState("md-module-not-loaded", [] {
        EXPECT_FALSE(isDRBDConnect());
        EXPECT_TRUE(readingState(Reading::drbdConnected).valid);
        EXPECT_FALSE(isMDResync());
        EXPECT_TRUE(readingState(Reading::localMDResync).valid);
    });
}

TEST(LocalProbes, tellAResync) {
    inState("md-resync-pending", [] {
        EXPECT_TRUE(isMDResync());
        EXPECT_TRUE(
            has(support::currentConstraints(), "Array md0 of this node is resynchronising."));
    });
}

TEST(LocalProbes, replaceTheListOfDisks) {
    inState("md-member-in-scsi-recovery", [] {
        Json::Value disks = leftover();
        EXPECT_TRUE(isDiskErrHandling(disks));
        ASSERT_EQ(disks.size(), 1U);
        EXPECT_EQ(disks[0].asString(), "sdd");
        Json::Value scalar("no array");
        EXPECT_TRUE(isDiskErrHandling(scalar));
        EXPECT_TRUE(scalar.isArray());
        EXPECT_TRUE(
            has(support::currentConstraints(), "Disk sdd of this node is under error handling."));
    });
}

TEST(LocalProbes, whatCannotBeReadIsFalseAndSaysWhy) {
    const koraha::test::ScratchDir scratch;
    scratch.write("proc/drbd", "garbage\n");
    scratch.write("proc/mdstat", "garbage\n");
    scratch.write("sys/none", "");
    koraha::test::withKernelFiles(scratch.path("proc"), scratch.path("sys"), [] {
        EXPECT_FALSE(isDRBDConnect());
        EXPECT_FALSE(readingState(Reading::drbdConnected).valid);
        EXPECT_EQ(readingState(Reading::drbdConnected).reason, "/proc/drbd is not understood");
        EXPECT_FALSE(isMDResync());
        EXPECT_EQ(readingState(Reading::localMDResync).reason, "/proc/mdstat is not understood");
        Json::Value disks = leftover();
        EXPECT_FALSE(isDiskErrHandling(disks));
        EXPECT_EQ(disks, Json::Value(Json::arrayValue));
        EXPECT_FALSE(readingState(Reading::localDiskErrHandling).valid);
        EXPECT_TRUE(isHadConstraints()) << "what cannot be judged forbids";
    });
}

}  // namespace
}  // namespace KORA::HA::Daemon
