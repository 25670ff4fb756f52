// SPDX-License-Identifier: Apache-2.0
#include "tools/status_judgement.h"

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
using korahamonctl::Knowledge;
using korahamonctl::knowledgeOf;
using korahamonctl::Paces;
using ::testing::Contains;
using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::SizeIs;

const Paces paces = korahamonctl::pacesFrom("{}");

// What is unknown ends in such a word, and nothing else does.
std::vector<std::string> concernsIn(const Json::Value& status) {
    std::vector<std::string> texts;
    for (const auto& concern : korahamonctl::concernsIn(status, paces)) {
        const bool says = concern.text.ends_with("unknown") || concern.text.ends_with("stale");
        EXPECT_EQ(concern.unknown, says) << concern.text;
        texts.push_back(concern.text);
    }
    return texts;
}

Json::Value listOf(std::initializer_list<const char*> names) {
    Json::Value list(Json::arrayValue);
    for (const char* name : names) {
        list.append(name);
    }
    return list;
}

TEST(Judgement, FindsNothingWhereAllIsWell) {
    EXPECT_THAT(concernsIn(healthyStatus()), IsEmpty());
}

TEST(Judgement, TakesAResyncAsWell) {
    EXPECT_THAT(concernsIn(healthyBut("localMDResync", true)), IsEmpty());
    EXPECT_THAT(concernsIn(healthyBut("remoteMDResync", true)), IsEmpty());
}

TEST(Judgement, TakesConstraintsAPassiveRoleAndARestartAsWell) {
    EXPECT_THAT(concernsIn(healthyBut("constraints", listOf({"maintenance"}))), IsEmpty());
    EXPECT_THAT(concernsIn(healthyBut("active", false)), IsEmpty());
    EXPECT_THAT(concernsIn(healthyBut("lastRestart", Json::objectValue)), IsEmpty());
}

TEST(Judgement, FindsEachCauseForAlarm) {
    EXPECT_THAT(concernsIn(healthyBut("remoteAlive", false)), ElementsAre("peer not alive"));
    EXPECT_THAT(concernsIn(healthyBut("drbdConnected", false)), ElementsAre("DRBD not connected"));
    EXPECT_THAT(concernsIn(healthyBut("localDiskErrHandling", true)),
                ElementsAre("disk error handling here"));
    EXPECT_THAT(concernsIn(healthyBut("remoteDiskErrHandling", true)),
                ElementsAre("disk error handling on the peer"));
    EXPECT_THAT(concernsIn(healthyBut("degradedArrays", listOf({"md0", "md\x1b"}))),
                ElementsAre("degraded array md0", "degraded array md\\x1b"));
    EXPECT_THAT(concernsIn(healthyBut("degradedArrays", Json::nullValue)),
                ElementsAre("degraded arrays unknown"));
}

TEST(Judgement, FindsEveryReadingThatIsUnknown) {
    for (const std::string& reading : healthyStatus()["readings"].getMemberNames()) {
        EXPECT_THAT(concernsIn(healthyWithout(reading, "x")), ElementsAre(reading + " unknown"));
        EXPECT_THAT(concernsIn(healthyBut(reading, Json::nullValue)),
                    ElementsAre(reading + " unknown"));
        Json::Value never = healthyStatus();
        never["readings"].removeMember(reading);
        EXPECT_THAT(concernsIn(never), ElementsAre(reading + " unknown"));
    }
}

TEST(Judgement, FindsEveryReadingThatIsStale) {
    for (const std::string& reading : healthyStatus()["readings"].getMemberNames()) {
        const double limit = staleAfter(reading, paces);
        EXPECT_THAT(concernsIn(healthyAged(reading, limit)), IsEmpty()) << reading;
        EXPECT_THAT(concernsIn(healthyAged(reading, limit + 0.5)), ElementsAre(reading + " stale"));
    }
    Json::Value ageless = healthyStatus();
    ageless["readings"]["hbLatency"]["ageSeconds"] = Json::nullValue;
    EXPECT_THAT(concernsIn(ageless), ElementsAre("hbLatency stale"));
}

TEST(Judgement, StillAlarmsOnABadValueThatIsStale) {
    Json::Value status = healthyAged("localDiskErrHandling", 9999);
    status["localDiskErrHandling"] = true;
    EXPECT_THAT(concernsIn(status),
                ElementsAre("disk error handling here", "localDiskErrHandling stale"));
}

TEST(Judgement, DoesNotBelieveTheValueOfAFailedReading) {
    Json::Value status = healthyWithout("localDiskErrHandling", "no permission");
    status["localDiskErrHandling"] = true;
    EXPECT_THAT(concernsIn(status), ElementsAre("localDiskErrHandling unknown"));
}

TEST(Judgement, CountsWhatOnlyThePeerCanRenewOnceWhileItIsAway) {
    Json::Value status = healthyBut("remoteAlive", false);
    for (const char* reading : {"remoteMDResync", "remoteDiskErrHandling"}) {
        status["readings"][reading]["valid"] = false;
    }
    status["readings"]["hbLatency"]["ageSeconds"] = 99'999;
    EXPECT_THAT(concernsIn(status), ElementsAre("peer not alive"));
}

TEST(Judgement, FindsEverythingUnknownInAReplyOfTheWrongShape) {
    EXPECT_THAT(concernsIn(Json::Value(Json::objectValue)), SizeIs(9));
    Json::Value odd = healthyStatus();
    odd["readings"] = "none";
    EXPECT_THAT(concernsIn(odd), SizeIs(8));
    odd = healthyBut("remoteAlive", "yes");
    EXPECT_THAT(concernsIn(odd), ElementsAre("remoteAlive unknown"));
    odd = healthyStatus();
    odd["readings"]["hbLatency"] = 7;
    EXPECT_THAT(concernsIn(odd), ElementsAre("hbLatency unknown"));
    odd["readings"]["hbLatency"] = Json::objectValue;
    odd["readings"]["hbLatency"]["valid"] = 1;
    EXPECT_THAT(concernsIn(odd), ElementsAre("hbLatency unknown"));
}

TEST(Judgement, BoundsWhatItSaysOfALongList) {
    Json::Value many(Json::arrayValue);
    for (int i = 0; i < 10'000; ++i) {
        many.append(std::string(10'000, 'x'));
    }
    many[0] = 5;
    const auto concerns = concernsIn(healthyBut("degradedArrays", many));
    EXPECT_LT(concerns.size(), 100U);
    EXPECT_THAT(concerns, Contains("degraded array ?"));
    EXPECT_LT(concerns.back().size(), 100U);
}

TEST(Judgement, TellsKnownStaleAndUnknownApart) {
    EXPECT_EQ(knowledgeOf(healthyStatus(), "hbLatency", paces), Knowledge::known);
    EXPECT_EQ(knowledgeOf(healthyAged("hbLatency", 1000), "hbLatency", paces), Knowledge::stale);
    EXPECT_EQ(knowledgeOf(healthyWithout("hbLatency", "x"), "hbLatency", paces),
              Knowledge::unknown);
}

}  // namespace
