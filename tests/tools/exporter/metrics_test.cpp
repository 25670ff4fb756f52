// SPDX-License-Identifier: Apache-2.0
#include "tools/exporter/metrics.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <map>
#include <sstream>
#include <string>

#include "tests/tools/records.h"
#include "tools/configured_paces.h"

namespace {

using koraha::test::healthyAged;
using koraha::test::healthyBut;
using koraha::test::healthyStatus;
using koraha::test::healthyWithout;
using ::testing::Contains;
using ::testing::HasSubstr;
using ::testing::Key;
using ::testing::Not;
using ::testing::Pair;

std::string textOf(const Json::Value& status, const Json::Value& history = Json::nullValue) {
    korahamonctl::Observation seen;
    seen.status = status;
    seen.history = history;
    seen.paces = korahamonctl::pacesFrom("{}");
    korahamonctl::MetricFamilies families;
    korahamonctl::addMetrics(seen, families);
    return families.text();
}

using Samples = std::map<std::string, double>;

Samples samplesIn(const std::string& text) {
    Samples samples;
    std::istringstream lines(text);
    for (std::string line; std::getline(lines, line);) {
        if (!line.starts_with('#')) {
            const auto blank = line.rfind(' ');
            EXPECT_TRUE(
                samples.emplace(line.substr(0, blank), std::stod(line.substr(blank + 1))).second)
                << "twice: " << line;
        }
    }
    return samples;
}

Samples metricsOf(const Json::Value& status, const Json::Value& history = Json::nullValue) {
    return samplesIn(textOf(status, history));
}

TEST(Metrics, TellWhatTheDaemonSays) {
    const Samples samples = metricsOf(healthyStatus());
    const Samples expected = {
        {"koraha_up", 1},
        {"koraha_peer_alive", 1},
        {"koraha_drbd_connected", 1},
        {"koraha_active", 1},
        {R"(koraha_md_resync{side="this"})", 0},
        {R"(koraha_md_resync{side="peer"})", 0},
        {R"(koraha_disk_error_handling{side="this"})", 0},
        {"koraha_md_degraded_arrays", 0},
        {"koraha_interface_failed_packets_ratio", 0},
        {"koraha_heartbeat_latency_seconds", 0.00031},
        {"koraha_heartbeat_latency_threshold_seconds", 0.1},
        {R"(koraha_reading_valid{reading="hbLatency"})", 1},
        {R"(koraha_reading_stale{reading="hbLatency"})", 0},
        {R"(koraha_reading_age_seconds{reading="hbLatency"})", 2},
        {R"(koraha_reading_stale_after_seconds{reading="remoteAlive"})", 20},
        {R"(koraha_build_info{version="1.0.0"})", 1},
        {R"(koraha_exporter_build_info{version="1.0.0"})", 1},
        {"koraha_uptime_seconds", 77},
        {"koraha_restart_constraints", 0},
        {R"(koraha_concerns{kind="wrong"})", 0},
        {R"(koraha_concerns{kind="unknown"})", 0},
    };
    for (const auto& [name, value] : expected) {
        ASSERT_THAT(samples, Contains(Key(name)));
        EXPECT_DOUBLE_EQ(samples.at(name), value) << name;
    }
}

TEST(Metrics, TellWhatIsWrong) {
    Json::Value status = healthyBut("remoteAlive", false);
    status["drbdConnected"] = false;
    status["localDiskErrHandling"] = true;
    status["errHandlingDisks"].append("sda");
    status["degradedArrays"].append("md1");
    status["constraints"].append("an array is degraded: md1");
    const Samples samples = metricsOf(status);
    EXPECT_THAT(samples, Contains(Pair("koraha_peer_alive", 0)));
    EXPECT_THAT(samples, Contains(Pair("koraha_drbd_connected", 0)));
    EXPECT_THAT(samples, Contains(Pair(R"(koraha_disk_error_handling{side="this"})", 1)));
    EXPECT_THAT(samples,
                Contains(Pair(R"(koraha_disk_in_error_handling{side="this",disk="sda"})", 1)));
    EXPECT_THAT(samples, Contains(Pair(R"(koraha_md_array_degraded{array="md1"})", 1)));
    EXPECT_THAT(samples, Contains(Pair("koraha_md_degraded_arrays", 1)));
    EXPECT_THAT(samples, Contains(Pair("koraha_restart_constraints", 1)));
    EXPECT_THAT(samples, Contains(Pair(R"(koraha_concerns{kind="wrong"})", 4)));
}

TEST(Metrics, GiveNoValueForWhatIsUnknown) {
    const Samples invalid = metricsOf(healthyWithout("hbLatency", "no permission"));
    EXPECT_THAT(invalid, Not(Contains(Key("koraha_heartbeat_latency_seconds"))));
    EXPECT_THAT(invalid, Contains(Pair(R"(koraha_reading_valid{reading="hbLatency"})", 0)));
    EXPECT_THAT(invalid, Contains(Pair(R"(koraha_concerns{kind="unknown"})", 1)));

    const Samples null = metricsOf(healthyBut("netNonOkRate", Json::nullValue));
    EXPECT_THAT(null, Not(Contains(Key("koraha_interface_failed_packets_ratio"))));
    EXPECT_THAT(null, Contains(Pair(R"(koraha_reading_valid{reading="netNonOkRate"})", 0)));

    Json::Value never = healthyWithout("localMDResync", "not yet");
    never["readings"]["localMDResync"]["ageSeconds"] = Json::nullValue;
    const Samples samples = metricsOf(never);
    EXPECT_THAT(samples, Not(Contains(Key(R"(koraha_md_resync{side="this"})"))));
    EXPECT_THAT(samples, Contains(Key(R"(koraha_md_resync{side="peer"})")));
    EXPECT_THAT(samples,
                Not(Contains(Key(R"(koraha_reading_age_seconds{reading="localMDResync"})"))));
    EXPECT_THAT(samples, Contains(Pair(R"(koraha_reading_stale{reading="localMDResync"})", 1)));

    EXPECT_THAT(metricsOf(healthyBut("degradedArrays", Json::nullValue)),
                Not(Contains(Key("koraha_md_degraded_arrays"))));
}

TEST(Metrics, GiveNoValueForWhatIsStale) {
    Json::Value status = healthyAged("remoteDiskErrHandling", 9999);
    status["remoteDiskErrHandling"] = true;
    status["errHandlingDisksRemote"].append("sdb");
    const Samples samples = metricsOf(status);
    EXPECT_THAT(samples, Not(Contains(Key(R"(koraha_disk_error_handling{side="peer"})"))));
    EXPECT_THAT(samples,
                Not(Contains(Key(R"(koraha_disk_in_error_handling{side="peer",disk="sdb"})"))));
    EXPECT_THAT(samples,
                Contains(Pair(R"(koraha_reading_stale{reading="remoteDiskErrHandling"})", 1)));
    EXPECT_THAT(samples,
                Contains(Pair(R"(koraha_reading_valid{reading="remoteDiskErrHandling"})", 1)));
}

TEST(Metrics, SayThatTheDaemonIsDown) {
    korahamonctl::MetricFamilies families;
    korahamonctl::addMetrics({}, families);
    const Samples samples = samplesIn(families.text());
    EXPECT_THAT(samples, Contains(Pair("koraha_up", 0)));
    EXPECT_THAT(samples, Not(Contains(Key("koraha_peer_alive"))));
    EXPECT_THAT(samples, Not(Contains(Key(R"(koraha_concerns{kind="wrong"})"))));
}

TEST(Metrics, BearAReplyWithoutAnything) {
    const Samples samples = metricsOf(Json::Value(Json::objectValue));
    EXPECT_THAT(samples, Contains(Pair("koraha_up", 1)));
    EXPECT_THAT(samples, Not(Contains(Key("koraha_peer_alive"))));
    Json::Value odd = healthyStatus();
    odd["readings"] = "none";
    odd["degradedArrays"] = 5;
    odd["lastRestart"] = Json::arrayValue;
    odd["softwareVersion"] = Json::objectValue;
    odd["errHandlingDisks"] = "sda";
    EXPECT_THAT(metricsOf(odd), Contains(Pair(R"(koraha_build_info{version=""})", 1)));
}

TEST(Metrics, EscapeWhatNamesBringAlong) {
    Json::Value status = healthyBut("localDiskErrHandling", true);
    status["errHandlingDisks"].append("\"} 1\nkoraha_up 0\n# <script>");
    status["errHandlingDisks"].append("a\\b");
    status["errHandlingDisks"].append("\xff\xc2\x9b");
    const std::string text = textOf(status);
    EXPECT_THAT(text, HasSubstr(R"(disk="\"} 1\\x0akoraha_up 0\\x0a# <script>"} 1)"));
    EXPECT_THAT(text, HasSubstr(R"(disk="a\\b"} 1)"));
    EXPECT_THAT(text, HasSubstr(R"(disk="\\xff\\x9b"} 1)"));
    EXPECT_THAT(text, Not(HasSubstr("\nkoraha_up 0")));
}

TEST(Metrics, AreBoundedAndNeverTwiceTheSame) {
    Json::Value status = healthyBut("localDiskErrHandling", true);
    for (int i = 0; i < 5000; ++i) {
        status["errHandlingDisks"].append("sda");
        status["degradedArrays"].append(std::string(5000, 'x') + std::to_string(i));
        status["errHandlingDisksRemote"].append("sd" + std::to_string(i));
    }
    status["remoteDiskErrHandling"] = true;
    const std::string text = textOf(status);
    EXPECT_LT(text.size(), 40'000U);
    EXPECT_THAT(samplesIn(text), Contains(Pair("koraha_md_degraded_arrays", 5000)));
}

TEST(Metrics, TellWhatBecameOfARestart) {
    Json::Value status = healthyStatus();
    status["lastRestart"]["at"] = 1'700'000'000.5;
    status["lastRestart"]["outcome"] = "left";
    Samples samples = metricsOf(status);
    EXPECT_THAT(samples, Contains(Pair("koraha_last_restart_timestamp_seconds", 1'700'000'000.5)));
    EXPECT_THAT(samples, Contains(Pair(R"(koraha_last_restart_outcome{outcome="left"})", 1)));
    EXPECT_THAT(samples, Contains(Pair(R"(koraha_last_restart_outcome{outcome="failed"})", 0)));
    status["lastRestart"]["outcome"] = "no answer\n";
    samples = metricsOf(status);
    EXPECT_THAT(samples, Contains(Pair(R"(koraha_last_restart_outcome{outcome="failed"})", 1)));
    EXPECT_THAT(samples, Contains(Pair(R"(koraha_last_restart_outcome{outcome="left"})", 0)));
}

Json::Value sample(double value, int sent, int answered) {
    Json::Value made;
    made["at"] = 1'700'000'000.0;
    made["kind"] = "hbLatency";
    made["value"] = value;
    made["sent"] = sent;
    made["answered"] = answered;
    return made;
}

TEST(Metrics, SumUpTheLastHour) {
    Json::Value history;
    history["samples"].append(sample(1, 5, 5));
    history["samples"].append(sample(3, 5, 4));
    history["samples"].append(sample(1500, 5, 0));
    Json::Value rate = sample(0.5, 0, 0);
    rate["kind"] = "netNonOkRate";
    history["samples"].append(rate);
    history["samples"].append("no sample");
    history["samples"].append(sample(7, 5, 5))["value"] = Json::nullValue;
    const Samples samples = metricsOf(healthyStatus(), history);
    EXPECT_THAT(samples,
                Contains(Pair(R"(koraha_heartbeat_last_hour_echoes{outcome="answered"})", 9)));
    EXPECT_THAT(samples, Contains(Pair(R"(koraha_heartbeat_last_hour_echoes{outcome="lost"})", 6)));
    EXPECT_DOUBLE_EQ(samples.at("koraha_heartbeat_last_hour_median_seconds"), 0.003);
    EXPECT_DOUBLE_EQ(samples.at("koraha_heartbeat_last_hour_max_seconds"), 1.5);
    EXPECT_THAT(metricsOf(healthyStatus(), Json::Value("none")),
                Not(Contains(Key("koraha_heartbeat_last_hour_max_seconds"))));
}

}  // namespace
