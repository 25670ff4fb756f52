// SPDX-License-Identifier: Apache-2.0
#include "hasupport/probe/evaluate_constraints.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "tests/support/scratch_dir.h"

namespace KORA::HA::Daemon::support {
namespace {

using Reasons = std::vector<std::string>;

class EvaluateConstraints : public testing::Test {
  protected:
    EvaluateConstraints() {
        input_.drbd = {DrbdView::Answer::known, {}, {{"r0", true, true, false}}};
        input_.md.known = true;
        input_.disks.known = true;
        input_.markerPath = scratch_.path("maintenance");
    }

    koraha::test::ScratchDir scratch_;
    ConstraintInput input_;
};

TEST_F(EvaluateConstraints, aHealthyNodeHasNone) {
    EXPECT_EQ(evaluateConstraints(input_), Reasons{});
}

TEST_F(EvaluateConstraints, maintenanceForbids) {
    scratch_.write("maintenance", "");
    EXPECT_EQ(evaluateConstraints(input_),
              Reasons{"This node is under maintenance (" + input_.markerPath + " exists)."});
}

TEST_F(EvaluateConstraints, aMarkerThatCannotBeLookedUpForbids) {
    input_.markerPath = scratch_.path(std::string(300, 'x'));
    const Reasons reasons = evaluateConstraints(input_);
    ASSERT_EQ(reasons.size(), 1U);
    EXPECT_NE(reasons[0].find("cannot be looked up: File name too long."), std::string::npos);
}

TEST_F(EvaluateConstraints, aRecentRequestForbids) {
    input_.restartAsked = true;
    EXPECT_EQ(evaluateConstraints(input_),
              Reasons{"This node asked for a restart of the peer less than 15 minutes ago."});
}

TEST_F(EvaluateConstraints, aRequestOfWhichNobodyKnowsWhenForbids) {
    input_.restartUnknown = true;
    EXPECT_EQ(evaluateConstraints(input_),
              Reasons{"When this node last asked for a restart of the peer cannot be read."});
}

TEST_F(EvaluateConstraints, whatCannotBeReadForbidsWithOrWithoutDrbd) {
    input_.drbd = {DrbdView::Answer::unknown, "no answer", {}};
    input_.md = {false, "no md", {}};
    input_.disks = {false, "no disks", {}};
    const Reasons all{"The state of DRBD cannot be told: no answer.",
                      "The state of md cannot be told: no md.",
                      "The state of the disks cannot be told: no disks."};
    EXPECT_EQ(evaluateConstraints(input_), all);
    input_.drbdExpected = false;
    EXPECT_EQ(evaluateConstraints(input_), all);
}

TEST_F(EvaluateConstraints, everyResourceCounts) {
    input_.drbd.resources.push_back({"r1", false, true, false});
    input_.drbd.resources.push_back({"r2", true, false, true});
    const Reasons all{"DRBD resource r1 is not connected to the peer.",
                      "DRBD resource r2 is not UpToDate on this node.",
                      "DRBD resource r2 is being synchronised from the peer."};
    EXPECT_EQ(evaluateConstraints(input_), all);
    input_.drbdExpected = false;
    EXPECT_EQ(evaluateConstraints(input_), all) << "resources that exist count in any case";
}

TEST_F(EvaluateConstraints, theListIsBounded) {
    input_.disks.disks.assign(10000, "sda");
    EXPECT_EQ(evaluateConstraints(input_).size(), 64U);
}

}  // namespace
}  // namespace KORA::HA::Daemon::support
