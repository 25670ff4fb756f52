// SPDX-License-Identifier: Apache-2.0
#include "tools/status_view.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "records.h"
#include "tools/configured_paces.h"
#include "tools/json_words.h"

namespace {

using koraha::test::healthyAged;
using koraha::test::healthyBut;
using koraha::test::healthyStatus;
using koraha::test::healthyWithout;
using ::testing::AllOf;
using ::testing::ContainsRegex;
using ::testing::HasSubstr;
using ::testing::Not;

const korahamonctl::Paces paces = korahamonctl::pacesFrom("{}");

std::string shown(const Json::Value& status) {
    return korahamonctl::statusText(korahamonctl::recordOf(status), paces);
}

std::string oneLine(const Json::Value& status) {
    return korahamonctl::oneLine(korahamonctl::recordOf(status), paces);
}

TEST(View, ShowsAValueInEachLineWithItsAge) {
    EXPECT_EQ(shown(healthyStatus()),
              "this node           active\n"
              "peer                alive  (2 s ago)\n"
              "DRBD                connected  (2 s ago)\n"
              "arrays here         no resync  (2 s ago)\n"
              "arrays of the peer  no resync  (2 s ago)\n"
              "disks here          no error handling  (2 s ago)\n"
              "disks of the peer   no error handling  (2 s ago)\n"
              "heartbeat           0.310 ms  (2 s ago)\n"
              "failed packets      0.000000 of all  (2 s ago)\n"
              "daemon              version 1.0.0, process 4242, up 77 s\n");
}

TEST(View, ShowsWhatIsWrong) {
    Json::Value status = healthyBut("remoteAlive", false);
    status["drbdConnected"] = false;
    status["localDiskErrHandling"] = true;
    status["errHandlingDisks"].append("sda");
    status["errHandlingDisksRemote"].append("sdx");
    status["degradedArrays"].append("md1");
    status["constraints"].append("an array is degraded: md1");
    status["active"] = false;
    const std::string text = shown(status);
    for (const char* part :
         {"this node           passive\n", "peer                NOT ALIVE",
          "DRBD                NOT CONNECTED", "disks here          ERROR HANDLING",
          "disks in EH here    sda\n", "disks in EH, peer   sdx\n", "DEGRADED arrays     md1\n",
          "no restart because  an array is degraded: md1\n"}) {
        EXPECT_THAT(text, HasSubstr(part));
    }
}

TEST(View, ShowsUnknownAsUnknownWithTheReason) {
    const std::string text = shown(healthyWithout("drbdConnected", "DRBD is not loaded"));
    EXPECT_THAT(text,
                HasSubstr("DRBD                unknown: DRBD is not loaded  (last known 2 s ago)"));
    EXPECT_THAT(text, Not(HasSubstr("connected")));

    const std::string nothing = shown(Json::Value(Json::objectValue));
    EXPECT_THAT(nothing, ContainsRegex("peer  +unknown\n"));
    EXPECT_THAT(nothing, ContainsRegex("this node  +unknown\n"));
    EXPECT_THAT(nothing, ContainsRegex("degraded arrays  +unknown\n"));
    EXPECT_THAT(nothing, ContainsRegex("no restart because  +unknown\n"));
    EXPECT_THAT(nothing, HasSubstr("version unknown, process unknown, up unknown"));
    EXPECT_THAT(nothing, Not(HasSubstr("NOT")));
}

TEST(View, ShowsANumberThatIsNoneAsUnknown) {
    EXPECT_THAT(shown(healthyBut("hbLatency", Json::nullValue)),
                ContainsRegex("heartbeat  +unknown"));
}

TEST(View, MarksWhatIsStale) {
    EXPECT_THAT(shown(healthyAged("remoteAlive", 100)),
                HasSubstr("peer                alive  (100 s ago)  STALE\n"));
    EXPECT_THAT(oneLine(healthyAged("remoteAlive", 100)), HasSubstr("peer: alive (STALE)"));
}

TEST(View, NamesDisksForNoMoreThanTheFlagThatGoesWithThem) {
    Json::Value status = healthyAged("remoteDiskErrHandling", 300);
    status["errHandlingDisks"].append("sda");
    status["errHandlingDisksRemote"].append("sdx");
    EXPECT_THAT(shown(status), HasSubstr("\ndisks in EH here    sda\n"
                                         "disks in EH, peer   last known: sdx\n"));
    EXPECT_THAT(oneLine(status), AllOf(HasSubstr("; sda"), Not(HasSubstr("sdx"))));
    status["readings"]["localDiskErrHandling"]["valid"] = false;
    EXPECT_THAT(shown(status), HasSubstr("\ndisks in EH here    last known: sda\n"));
    EXPECT_THAT(oneLine(status), Not(HasSubstr("sda")));
}

TEST(OneLine, NamesThePeersDisksOnlyWhileItIsInReach) {
    Json::Value status = healthyStatus();
    status["errHandlingDisksRemote"].append("sdx");
    EXPECT_THAT(oneLine(status), HasSubstr("; sdx"));
    status["remoteAlive"] = false;
    EXPECT_THAT(oneLine(status), Not(HasSubstr("sdx")));
}

TEST(View, ShowsTheLastRestart) {
    Json::Value restart;
    restart["agoSeconds"] = 90;
    restart["outcome"] = "back";
    restart["reason"] = "too many errors on sda";
    EXPECT_THAT(shown(healthyBut("lastRestart", restart)),
                HasSubstr("last restart        back: too many errors on sda  (90 s ago)\n"));
}

TEST(View, LetsNoTextReachTheTerminalAsItCame) {
    const std::string evil = "\x1b]0;x\x07\r\n\xc2\x9b\xff";
    Json::Value status = healthyWithout("drbdConnected", evil);
    for (const char* key :
         {"errHandlingDisks", "errHandlingDisksRemote", "constraints", "degradedArrays"}) {
        status[key].append(evil);
        status[key].append(7);
    }
    status["lastRestart"]["outcome"] = evil;
    status["lastRestart"]["reason"] = evil;
    status["softwareVersion"] = evil;
    const std::string text = shown(status);
    EXPECT_THAT(text, Not(HasSubstr("\x1b")));
    EXPECT_THAT(text, Not(HasSubstr("\r")));
    EXPECT_THAT(text, Not(HasSubstr("\xc2\x9b")));
    EXPECT_THAT(text, Not(HasSubstr("\xff")));
    EXPECT_THAT(text, HasSubstr("\\x1b]0;x\\x07\\x0d\\x0a\\x9b\\xff, ?"));
    for (const char c : oneLine(status)) {
        EXPECT_FALSE(static_cast<unsigned char>(c) < 0x20U);
    }
}

TEST(View, BoundsWhatIsHuge) {
    Json::Value status = healthyWithout("hbLatency", std::string(1U << 20U, 'r'));
    for (int i = 0; i < 5000; ++i) {
        status["constraints"].append(std::string(5000, 'c'));
        status["errHandlingDisks"].append(std::string(5000, 'd'));
    }
    const std::string text = shown(status);
    EXPECT_LT(text.size(), 40'000U);
    EXPECT_THAT(text, HasSubstr("and 4968 more"));
    EXPECT_LT(oneLine(status).size(), 20'000U);
}

TEST(OneLine, SaysWhatMatters) {
    EXPECT_EQ(oneLine(healthyStatus()),
              "active; peer: alive; DRBD: connected; arrays here: no resync; arrays of the peer: "
              "no resync; disks here: no error handling; disks of the peer: no error handling; "
              "0.3 ms");
    Json::Value status = healthyBut("remoteAlive", false);
    status["errHandlingDisks"].append("sda");
    status["degradedArrays"].append("md0");
    EXPECT_EQ(oneLine(status),
              "active; peer: NOT ALIVE; DRBD: connected; arrays here: no resync; disks here: no "
              "error handling; sda; DEGRADED: md0");
}

TEST(OneLine, DoesNotChangeWithTheAges) {
    EXPECT_EQ(oneLine(healthyAged("localMDResync", 3)), oneLine(healthyAged("localMDResync", 30)));
}

TEST(OneLine, SaysUnknown) {
    EXPECT_THAT(oneLine(healthyWithout("drbdConnected", "x")), HasSubstr("DRBD: unknown"));
}

}  // namespace
