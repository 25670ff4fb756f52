// SPDX-License-Identifier: Apache-2.0
// What the probes make of every captured state of DRBD, md and SCSI disks, by name.
#include <gtest/gtest.h>

#include <algorithm>
#include <string>
#include <vector>

#include "hasupport/probe/evaluate_constraints.h"
#include "tests/support/small_stack.h"
#include "tests/support/test_data.h"

namespace KORA::HA::Daemon::support {
namespace {

using Names = std::vector<std::string>;

struct State {
    const char* name;
    bool linkConnected;
    bool mdResync;
    Names disksHandled;
    Names constraints;
};

void PrintTo(const State& state, std::ostream* out) {
    *out << state.name;
}

const std::string noDrbd = "DRBD is not loaded.";
const std::string noResource = "No DRBD resource is configured.";

std::string apart(const char* name) {
    return std::string("DRBD resource ") + name + " is not connected to the peer.";
}
std::string stale(const char* name) {
    return std::string("DRBD resource ") + name + " is not UpToDate on this node.";
}
std::string target(const char* name) {
    return std::string("DRBD resource ") + name + " is being synchronised from the peer.";
}
std::string degraded(const char* name) {
    return std::string("Array ") + name + " of this node is degraded.";
}
std::string resyncing(const char* name) {
    return std::string("Array ") + name + " of this node is resynchronising.";
}
std::string handled(const char* name) {
    return std::string("Disk ") + name + " of this node is under error handling.";
}

// The captures of md and SCSI come from a machine without DRBD, and say so.
const std::vector<State> states{
    {"drbd-all-down", false, false, {}, {noResource}},
    {"drbd-brokenpipe", false, false, {}, {apart("drbd0")}},
    {"drbd-connected-primary", true, false, {}, {}},
    {"drbd-connected-secondary", true, false, {}, {}},
    {"drbd-diskless", true, false, {}, {stale("drbd0")}},
    {"drbd-minor-gap", true, false, {}, {stale("drbd0"), stale("drbd2")}},
    {"drbd-minor-unconfigured", true, false, {}, {stale("drbd0")}},
    {"drbd-module-not-loaded", false, false, {}, {noDrbd}},
    {"drbd-networkfailure", false, false, {}, {apart("drbd0")}},
    {"drbd-pausedsyncs", true, false, {}, {}},
    {"drbd-pausedsynct", true, false, {}, {stale("drbd0"), target("drbd0")}},
    {"drbd-peer-diskless", true, false, {}, {}},
    {"drbd-second-resource-down", true, false, {}, {stale("drbd0")}},
    {"drbd-split-brain", false, false, {}, {apart("drbd0")}},
    {"drbd-standalone", false, false, {}, {apart("drbd0")}},
    {"drbd-syncsource", true, false, {}, {}},
    {"drbd-synctarget", true, false, {}, {stale("drbd0"), target("drbd0")}},
    {"drbd-timeout", false, false, {}, {apart("drbd0")}},
    {"drbd-two-resources-both-connected", true, false, {}, {stale("drbd1")}},
    {"drbd-two-resources-one-connected", true, false, {}, {apart("drbd1"), stale("drbd1")}},
    {"drbd-unconfigured", false, false, {}, {noResource}},
    {"drbd-verifys", true, false, {}, {}},
    {"drbd-verifyt", true, false, {}, {}},
    {"drbd-wfconnection-never-met", false, false, {}, {apart("drbd0"), stale("drbd0")}},
    {"drbd-wfconnection-peer-disconnected", false, false, {}, {apart("drbd0")}},
    {"drbd-wfconnection-peer-gone", false, false, {}, {apart("drbd0")}},
    {"md-check", false, false, {}, {noDrbd}},
    {"md-clean", false, false, {}, {noDrbd}},
    {"md-degraded-faulty", false, false, {}, {noDrbd, degraded("md0")}},
    {"md-degraded-removed", false, false, {}, {noDrbd, degraded("md0")}},
    {"md-frozen", false, false, {}, {noDrbd}},
    {"md-member-in-scsi-recovery", false, false, {"sdd"}, {noDrbd, handled("sdd")}},
    {"md-member-scsi-offline", false, false, {}, {noDrbd, degraded("md0")}},
    {"md-module-not-loaded", false, false, {}, {noDrbd}},
    {"md-none", false, false, {}, {noDrbd}},
    {"md-recovery", false, true, {}, {noDrbd, degraded("md0"), resyncing("md0")}},
    {"md-recovery-frozen", false, false, {}, {noDrbd, degraded("md0")}},
    {"md-repair", false, false, {}, {noDrbd}},
    {"md-reshape", false, true, {}, {noDrbd, resyncing("md5")}},
    {"md-resync", false, true, {}, {noDrbd, resyncing("md0")}},
    {"md-resync-delayed",
     false,
     true,
     {},
     {noDrbd, resyncing("md0"), resyncing("md1"), resyncing("md2")}},
    {"md-resync-pending", false, true, {}, {noDrbd, resyncing("md0")}},
    {"md-resync-resumed", false, true, {}, {noDrbd, resyncing("md0")}},
    {"scsi-device-back", false, false, {}, {noDrbd}},
    {"scsi-device-offline", false, false, {}, {noDrbd}},
    {"scsi-healthy", false, false, {}, {noDrbd}},
    {"scsi-host-recovery", false, false, {"sda"}, {noDrbd, handled("sda")}},
    {"scsi-medium-errors", false, false, {}, {noDrbd}},
    {"scsi-recovered", false, false, {}, {noDrbd}},
};

class CapturedState : public testing::TestWithParam<State> {
  protected:
    /// What the probes read, with no time to wait for a drbdsetup.
    static ConstraintInput read(const std::string& name) {
        Drbdsetup none({}, Milliseconds(0));
        const KernelRoots roots = koraha::test::capturedRoots(name);
        DiskErrWatch watch(roots, {"sda", "sdb", "sdc", "/dev/sdd"});
        ConstraintInput input;
        onSmallStackRead(input, roots, none, watch);
        input.markerPath = koraha::test::testData("no-marker");
        return input;
    }

  private:
    static void onSmallStackRead(ConstraintInput& input, const KernelRoots& roots,
                                 Drbdsetup& drbdsetup, DiskErrWatch& watch) {
        koraha::test::onSmallStack([&] {
            input.drbd = readDrbd(roots, drbdsetup, {});
            input.md = readMd(roots);
            input.disks = watch.look();
        });
    }
};

TEST_P(CapturedState, isReadAndJudged) {
    const State& expected = GetParam();
    const ConstraintInput input = read(expected.name);
    EXPECT_NE(input.drbd.answer, DrbdView::Answer::unknown) << input.drbd.reason;
    EXPECT_TRUE(input.md.known) << input.md.reason;
    EXPECT_TRUE(input.disks.known) << input.disks.reason;

    EXPECT_EQ(std::any_of(input.drbd.resources.begin(), input.drbd.resources.end(),
                          [](const DrbdResource& each) { return each.established; }),
              expected.linkConnected);
    EXPECT_EQ(std::any_of(input.md.arrays.begin(), input.md.arrays.end(),
                          [](const MdArray& each) { return each.resyncing; }),
              expected.mdResync);
    EXPECT_EQ(input.disks.disks, expected.disksHandled);
    EXPECT_EQ(evaluateConstraints(input), expected.constraints);
}

TEST_P(CapturedState, withoutDrbdExpectedItsAbsenceForbidsNothing) {
    ConstraintInput input = read(GetParam().name);
    input.drbdExpected = false;
    Names expected = GetParam().constraints;
    expected.erase(std::remove_if(expected.begin(), expected.end(),
                                  [](const std::string& reason) {
                                      return reason == noDrbd || reason == noResource;
                                  }),
                   expected.end());
    EXPECT_EQ(evaluateConstraints(input), expected);
}

std::string testName(const testing::TestParamInfo<State>& state) {
    std::string name = state.param.name;
    std::replace(name.begin(), name.end(), '-', '_');
    return name;
}

INSTANTIATE_TEST_SUITE_P(All, CapturedState, testing::ValuesIn(states), testName);

}  // namespace
}  // namespace KORA::HA::Daemon::support
