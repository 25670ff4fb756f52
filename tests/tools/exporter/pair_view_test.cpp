// SPDX-License-Identifier: Apache-2.0
#include "tools/exporter/pair_view.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <json/reader.h>

#include <algorithm>
#include <memory>
#include <string>

#include "tests/tools/records.h"
#include "tools/configured_paces.h"

namespace {

using koraha::test::healthyAged;
using koraha::test::healthyBut;
using koraha::test::healthyStatus;
using koraha::test::healthyWithout;
using ::testing::HasSubstr;
using ::testing::Not;

Json::Value parsed(const std::string& line) {
    Json::Value value;
    std::string errors;
    const std::unique_ptr<Json::CharReader> reader(Json::CharReaderBuilder().newCharReader());
    EXPECT_TRUE(reader->parse(line.data(), line.data() + line.size(), &value, &errors)) << errors;
    EXPECT_EQ(line.find('\n'), std::string::npos);
    return value;
}

std::string lineFor(const Json::Value& status) {
    korahamonctl::Observation seen;
    seen.status = status;
    seen.paces = korahamonctl::pacesFrom("{}");
    return korahamonctl::pairView(seen);
}

Json::Value viewOf(const Json::Value& status) {
    return parsed(lineFor(status));
}

TEST(PairView, TellsHowWellEachReadingIsKnown) {
    const Json::Value fine = viewOf(healthyStatus());
    EXPECT_TRUE(fine["up"].asBool());
    EXPECT_TRUE(fine["active"].asBool());
    EXPECT_EQ(fine["readings"].size(), 8U);
    EXPECT_EQ(fine["readings"]["remoteAlive"]["state"], "known");
    EXPECT_TRUE(fine["readings"]["remoteAlive"]["value"].asBool());
    EXPECT_EQ(fine["readings"]["hbLatency"]["age"], 2.0);
    EXPECT_EQ(fine["thresholds"]["latency"], 100.0);
    EXPECT_TRUE(fine["concerns"].empty());

    const Json::Value unknown = viewOf(healthyWithout("drbdConnected", "no module"));
    EXPECT_EQ(unknown["readings"]["drbdConnected"]["state"], "unknown");
    EXPECT_TRUE(unknown["readings"]["drbdConnected"]["value"].isNull());
    EXPECT_EQ(unknown["readings"]["drbdConnected"]["reason"], "no module");
    EXPECT_EQ(unknown["concerns"][0]["text"], "drbdConnected unknown");
    EXPECT_TRUE(unknown["concerns"][0]["unknown"].asBool());

    const Json::Value stale = viewOf(healthyAged("remoteAlive", 500));
    EXPECT_EQ(stale["readings"]["remoteAlive"]["state"], "stale");
}

TEST(PairView, KnowsNothingWithoutADaemon) {
    korahamonctl::Observation seen;
    seen.problem = "nobody there";
    const Json::Value view = parsed(korahamonctl::pairView(seen));
    EXPECT_FALSE(view["up"].asBool());
    EXPECT_EQ(view["problem"], "nobody there");
    EXPECT_TRUE(view["active"].isNull());
    EXPECT_TRUE(view["degradedArrays"].isNull());
    EXPECT_TRUE(view["constraints"].isNull());
    EXPECT_EQ(view["readings"]["remoteAlive"]["state"], "unknown");
}

TEST(PairView, TellsDisksOnlyWhileTheyAreKnown) {
    Json::Value status = healthyBut("remoteDiskErrHandling", true);
    status["errHandlingDisksRemote"].append("<img src=x onerror=alert(1)>");
    status["errHandlingDisksRemote"].append(7);
    const Json::Value known = viewOf(status);
    EXPECT_EQ(known["disks"]["peer"][0], "<img src=x onerror=alert(1)>");
    EXPECT_EQ(known["disks"]["peer"][1], "");
    status["readings"]["remoteDiskErrHandling"]["valid"] = false;
    EXPECT_TRUE(viewOf(status)["disks"]["peer"].empty());
}

TEST(PairView, BoundsAndEscapesWhatComesFromElsewhere) {
    Json::Value status = healthyWithout("hbLatency", std::string(1U << 20U, 'r'));
    for (int i = 0; i < 5000; ++i) {
        status["constraints"].append(std::string(5000, 'c') + "\n\ndata: x");
        status["degradedArrays"].append("\x1b\xff\r\n");
    }
    status["lastRestart"]["outcome"] = "left\nevent: pair";
    status["softwareVersion"] = std::string(5000, 'v');
    const std::string line = lineFor(status);
    EXPECT_LT(line.size(), 40'000U);
    EXPECT_THAT(line, Not(HasSubstr("\n")));
    EXPECT_EQ(parsed(line)["degradedArrays"][0], "\\x1b\\xff\\x0d\\x0a");
    EXPECT_EQ(parsed(line)["lastRestart"]["outcome"], "left\\x0aevent: pair");
    viewOf(Json::Value(Json::objectValue));
}

Json::Value sample(double at, double value, int answered) {
    Json::Value made;
    made["at"] = at;
    made["kind"] = "hbLatency";
    made["value"] = value;
    made["sent"] = 5;
    made["answered"] = answered;
    return made;
}

TEST(HourView, JoinsSamplesInSteps) {
    constexpr double now = 1'700'000'010;
    Json::Value history;
    history["samples"].append(sample(now - 9000, 7, 5));  // before the hour
    history["samples"].append(sample(now - 70, 1, 5));
    history["samples"].append(sample(now - 69, 3, 2));
    history["samples"].append(sample(now - 1, 2, 5));
    history["events"][0]["at"] = now;
    history["events"][0]["text"] = "the peer has left\n";
    const Json::Value view = parsed(korahamonctl::hourView(history, now));
    ASSERT_EQ(view["buckets"].size(), 2U);
    EXPECT_EQ(view["buckets"][0]["greatest"], 3.0);
    EXPECT_EQ(view["buckets"][0]["sent"], 10.0);
    EXPECT_EQ(view["buckets"][0]["answered"], 7.0);
    EXPECT_EQ(view["buckets"][1]["median"], 2.0);
    EXPECT_EQ(view["events"][0]["text"], "the peer has left\\x0a");
}

TEST(HourView, BearsWhatIsNoHistory) {
    EXPECT_EQ(korahamonctl::hourView(Json::nullValue, 0), "null");
    EXPECT_TRUE(
        parsed(korahamonctl::hourView(Json::Value(Json::objectValue), 0))["buckets"].empty());
    Json::Value odd;
    odd["samples"] = 5;
    odd["events"][0] = "no event";
    EXPECT_EQ(parsed(korahamonctl::hourView(odd, 0))["events"][0]["text"], "");
}

}  // namespace
