// SPDX-License-Identifier: Apache-2.0
#include <gtest/gtest.h>
#include <json/value.h>

#include <cmath>
#include <functional>
#include <string>
#include <vector>

#include "hasupport/interface_checker.h"
#include "hasupport/local_probes.h"
#include "hasupport/remote_probes.h"
#include "hasupport/replication_link.h"
#include "hasupport/status.h"
#include "hasupport/status/readings.h"
#include "tests/support/failing_memory.h"

// Whatever allocation fails, nothing is thrown to the routines: that would end the daemon. And what
// a probe could not find out for lack of memory is not known, not false.

namespace KORA::HA::Daemon {
namespace {

using koraha::test::FailingAllocation;
using support::Reading;

struct Probe {
    Reading reading;
    std::function<bool()> isNegative;
};

Json::Value earlierDisks() {
    Json::Value disks(Json::arrayValue);
    disks.append("sda, which an earlier look found to be under error handling");
    return disks;
}

std::vector<Probe> probes() {
    return {
        {Reading::remoteAlive, [] { return !IsRemoteAlive()(); }},
        {Reading::drbdConnected, [] { return !isDRBDConnect(); }},
        {Reading::remoteMDResync, [] { return !IsRemoteMDResync()(); }},
        {Reading::localMDResync, [] { return !isMDResync(); }},
        {Reading::hbLatency, [] { return std::isinf(heartbeatLatency()); }},
        {Reading::netNonOkRate,
         [] {
             float rate = 0.5F;
             return !InterfaceChecker().networkNonOkRate(rate) && rate == 0.5F;
         }},
        {Reading::remoteDiskErrHandling,
         [disks = earlierDisks()]() mutable {
             return !IsRemoteDiskErrHandling()(disks) && disks.empty();
         }},
        {Reading::localDiskErrHandling,
         [disks = earlierDisks()]() mutable { return !isDiskErrHandling(disks) && disks.empty(); }},
    };
}

/// An interface that is there, so that the probes get far; no peer that answers.
void nameTheLink() {
    localIP("127.0.0.1, an address that is none and longer than any small string");
    remoteIP("127.0.0.1");
    drbdIF("lo");
}

TEST(LackOfMemory, MakesEveryProbeNegativeAndItsReadingUnknown) {
    nameTheLink();
    for (const Probe& probe : probes()) {
        const Probe copy = probe;  // whose disks are the earlier ones
        support::noteGood(probe.reading);
        bool negative = false;
        bool failed = false;
        {
            const FailingAllocation none(0, true);
            EXPECT_NO_THROW(negative = copy.isNegative());
            failed = FailingAllocation::hasFailed();
        }
        if (!failed && probe.reading == Reading::localMDResync) {
            continue;  // that there is no array can be told without memory
        }
        EXPECT_TRUE(failed) << support::readingName(probe.reading);
        EXPECT_TRUE(negative) << support::readingName(probe.reading);
        const support::ReadingState state = support::readingState(probe.reading);
        EXPECT_FALSE(state.valid) << support::readingName(probe.reading);
        EXPECT_EQ(state.reason, "std::bad_alloc");
    }
}

TEST(LackOfMemory, AtAnyMomentIsNoExceptionOfAProbe) {
    nameTheLink();
    constexpr int most = 300;  // a look at all disks of a machine may take more
    for (const Probe& probe : probes()) {
        for (const bool forGood : {false, true}) {
            bool reached = true;
            for (int number = 0; reached && number < most; ++number) {
                const FailingAllocation failing(number, forGood);
                EXPECT_NO_THROW((void)probe.isNegative()) << support::readingName(probe.reading);
                reached = FailingAllocation::hasFailed();
            }
        }
    }
}

TEST(LackOfMemory, NeverLeavesAnOldDiskListInTheRecord) {
    const Json::Value disks = earlierDisks();
    for (int number = 0; number < 20; ++number) {
        for (const bool forGood : {false, true}) {
            Status status;
            status.setErrHandlingDisk(Json::Value("older"));
            status.setErrHandlingDiskRemote(Json::Value("older"));
            Json::Value got;
            bool known = false;
            {
                const FailingAllocation failing(number, forGood);
                EXPECT_NO_THROW(status.setErrHandlingDisk(disks));
                EXPECT_NO_THROW(status.setErrHandlingDiskRemote(disks));
                EXPECT_NO_THROW(got = status.getErrHandlingDiskRemote());
                EXPECT_NO_THROW(known = !status.getErrHandlingDisksSeen().empty());
            }
            EXPECT_TRUE(got.isNull() || got == disks);
            const Json::Value stored = status.getErrHandlingDiskRemote();
            EXPECT_TRUE(stored.isNull() || stored == disks);
            EXPECT_FALSE(forGood && number == 0 && known);
        }
    }
}

}  // namespace
}  // namespace KORA::HA::Daemon
