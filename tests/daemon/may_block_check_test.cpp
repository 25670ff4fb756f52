// SPDX-License-Identifier: Apache-2.0
#include <gtest/gtest.h>

#include "log/running_flag.h"
#include "monitor/check_loops.h"
#include "monitor/interval.h"
#include "tests/daemon/support/calls.h"
#include "tests/daemon/support/own_system.h"
#include "tests/daemon/support/virtual_time.h"
#include "tests/scripted/script.h"

namespace KORA::HA::Daemon {
namespace {

using namespace koraha::test;

const std::string rateFailed = "koraharemotemond:268 Failed to get network interface fail rate";

std::function<bool(float&)> measures(float measured) {
    return [measured](float& rate) {
        rate = measured;
        return true;
    };
}

void runPasses(Status& status, int passes, bool alive) {
    status.setRemoteAlive(alive);
    script().forgetCalls();
    stopAfterSleeps(passes);
    EXPECT_FALSE(mayBlockCheck(status));
}

TEST(MayBlockCheck, peerNotAliveStillUpdatesTheLocalResyncOnEveryPassWithoutRemoteQuery) {
    inOwnSystem([] {
        Status status;
        script().mdResync = inTurn({true, false, true});
        std::vector<bool> seen;
        onSleep([&](unsigned int) { seen.push_back(status.localMDResync); });
        runPasses(status, 3, false);
        EXPECT_EQ(repeated(3, {"isRemoteAlive", "isMDResync", "sleep 15"}), script().calls);
        EXPECT_EQ((std::vector<bool>{true, false, true}), seen);
    });
}

TEST(MayBlockCheck, alivePeerIsMeasuredBeforeTheLocalResyncIsAsked) {
    inOwnSystem([] {
        Status status;
        script().nonOkRate = measures(0.5F);
        runPasses(status, 2, true);
        EXPECT_EQ((Calls{"isRemoteAlive", "heartbeatLatency", "networkNonOkRate", "isMDResync",
                         "sleep 15",  //
                         "isRemoteAlive", "heartbeatLatency", "isMDResync", "sleep 15"}),
                  script().calls);
    });
}

TEST(MayBlockCheck, eachValueIsStoredBeforeTheNextProbeIsAsked) {
    inOwnSystem([] {
        Status status;
        script().latency = always(0.3F);
        script().nonOkRate = [&status](float& rate) {
            EXPECT_EQ(0.3F, status.hbLatency);
            rate = 0.1F;
            return true;
        };
        script().mdResync = [&status] {
            EXPECT_EQ(0.1F, status.netNonOkRate);
            return true;
        };
        runPasses(status, 1, true);
        EXPECT_TRUE(status.localMDResync);
    });
}

TEST(MayBlockCheck, restOfZeroReadsTheInterfaceOnEveryPassInWhichThePeerIsAlive) {
    inOwnSystem([] {
        configure(R"({"NUM_OF_REST_NETWORK": 0})");
        Status status;
        script().nonOkRate = measures(0.5F);
        script().readAliveBack = inTurn({true, false, true, true, false});
        runPasses(status, 5, true);
        EXPECT_EQ((Calls{"networkNonOkRate", "sleep 15", "sleep 15", "networkNonOkRate", "sleep 15",
                         "networkNonOkRate", "sleep 15", "sleep 15"}),
                  script().callsOf({"networkNonOkRate", "sleep"}));
    });
}

TEST(MayBlockCheck, interfaceIsReadOnPasses1And242And483ByDefault) {
    inOwnSystem([] {
        Status status;
        std::vector<std::size_t> passes;
        script().nonOkRate = [&](float&) {
            passes.push_back(script().count("sleep") + 1);
            return true;
        };
        runPasses(status, 500, true);
        EXPECT_EQ((std::vector<std::size_t>{1, 242, 483}), passes);
        EXPECT_EQ(500U, script().count("heartbeatLatency"));
    });
}

TEST(MayBlockCheck, interfaceCounterDoesNotAdvanceWhileThePeerIsNotAlive) {
    inOwnSystem([] {
        configure(R"({"NUM_OF_REST_NETWORK": 2})");
        Status status;
        runPasses(status, 2, true);
        EXPECT_EQ(1U, script().count("networkNonOkRate"));
        runPasses(status, 10, false);
        runPasses(status, 1, true);
        EXPECT_EQ(0U, script().count("networkNonOkRate"));
        runPasses(status, 1, true);
        EXPECT_EQ(1U, script().count("networkNonOkRate"));
    });
}

TEST(MayBlockCheck, negativeRestReadsTheInterfaceOnceAndPracticallyNeverAgain) {
    inOwnSystem([] {
        configure(R"({"NUM_OF_REST_NETWORK": -1})");
        Status status;
        runPasses(status, 5000, true);
        EXPECT_EQ(1U, script().count("networkNonOkRate"));
    });
}

TEST(MayBlockCheck, interfaceTaskIsCountedUnderItsName) {
    inOwnSystem([] {
        Status status;
        runPasses(status, 1, true);
        EXPECT_FALSE(doTaskByIntervals(1, "interface_check"));
    });
}

TEST(MayBlockCheck, failedReadingLeavesThePreviousRateAndLogsOneLineEachTime) {
    inOwnSystem([] {
        configure(R"({"NUM_OF_REST_NETWORK": 0})");
        Status status;
        script().nonOkRate = measures(0.25F);
        runPasses(status, 1, true);
        EXPECT_TRUE(script().logLines.empty());
        script().nonOkRate = [](float& rate) {
            rate = 0.75F;
            return false;
        };
        runPasses(status, 3, true);
        EXPECT_EQ(Calls(3, rateFailed), script().logLines);
        EXPECT_EQ(0.25F, status.netNonOkRate);
        EXPECT_EQ(3U, script().count("isMDResync"));
    });
}

TEST(MayBlockCheck, latencyAndRateKeepTheirLastValuesWhileThePeerIsNotAlive) {
    inOwnSystem([] {
        Status status;
        script().latency = always(12.5F);
        script().nonOkRate = measures(0.125F);
        runPasses(status, 1, true);
        script().latency = always(99.0F);
        script().nonOkRate = measures(0.9F);
        runPasses(status, 300, false);
        EXPECT_EQ(12.5F, status.hbLatency);
        EXPECT_EQ(0.125F, status.netNonOkRate);
    });
}

TEST(MayBlockCheck, latencyIsStoredAtEveryPassAsItIs) {
    inOwnSystem([] {
        Status status;
        script().latency = inTurn({0.25F, -1.0F, 1500.5F});
        std::vector<float> seen;
        onSleep([&](unsigned int) { seen.push_back(status.hbLatency); });
        runPasses(status, 3, true);
        EXPECT_EQ((std::vector<float>{0.25F, -1.0F, 1500.5F}), seen);
    });
}

TEST(MayBlockCheck, oneCheckerAndOneRateThatStartsAtZeroServeTheWholeLoop) {
    inOwnSystem([] {
        configure(R"({"NUM_OF_REST_NETWORK": 0})");
        Status status;
        status.netNonOkRate = 0.5F;
        std::vector<float> handed;
        script().nonOkRate = [&handed](float& rate) {
            handed.push_back(rate);
            rate += 0.25F;
            return true;
        };
        runPasses(status, 3, true);
        EXPECT_EQ((std::vector<float>{0.0F, 0.25F, 0.5F}), handed);
        EXPECT_EQ(0.75F, status.netNonOkRate);
        EXPECT_EQ(1, script().made["InterfaceChecker"]);
        handed.clear();
        runPasses(status, 1, true);  // a loop of its own
        EXPECT_EQ((std::vector<float>{0.0F}), handed);
        EXPECT_EQ(1, script().made["InterfaceChecker"]);
    });
}

TEST(MayBlockCheck, sleepsTheActiveIntervalWhileTheNodeIsActive) {
    inOwnSystem([] {
        touch(roleMarker);
        Status status;
        runPasses(status, 1, true);
        EXPECT_EQ("sleep 20", script().calls.back());
    });
}

TEST(MayBlockCheck, roleThatChangesDuringAPassHoldsForTheSleepOfThatPass) {
    inOwnSystem([] {
        Status status;
        script().mdResync = [] {
            touch(roleMarker);
            return false;
        };
        runPasses(status, 1, true);
        EXPECT_EQ("sleep 20", script().calls.back());
    });
}

TEST(MayBlockCheck, flagThatIsAlreadyClearReturnsFalseAtOnceWithoutAPass) {
    inOwnSystem([] {
        Status status;
        TEST_setRunning(false);
        EXPECT_FALSE(mayBlockCheck(status));
        EXPECT_EQ(Calls{}, script().calls);
    });
}

}  // namespace
}  // namespace KORA::HA::Daemon
