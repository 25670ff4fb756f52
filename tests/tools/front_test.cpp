// SPDX-License-Identifier: Apache-2.0
// What korahamonctl answers by itself, against what it becomes for all else: nobody may see which
// of the two has answered.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "records.h"
#include "run_tool.h"
#include "status_server.h"
#include "tools/configured_paces.h"
#include "tools/front/answer.h"
#include "tools/front/plain_json.h"
#include "tools/json_words.h"
#include "tools/status_query.h"

namespace {

using namespace koraha::test;  // NOLINT(google-build-using-namespace)
using korahamonctl::front::plainCriteria;
using korahamonctl::front::plainRecord;
using korahamonctl::front::plainRequest;

const std::string healthy = lineOf(healthyStatus());

// The healthy status with other JSON in the place of one value.
std::string lineWith(const std::string& key, const std::string& json) {
    Json::Value status = healthyStatus();
    status[key] = "@";
    std::string line = lineOf(status);
    return line.replace(line.find("\"@\""), 3, json);
}

// The same in the place of one part of what is said of a reading.
std::string lineWithState(const std::string& part, const std::string& json) {
    Json::Value status = healthyStatus();
    status["readings"]["hbLatency"][part] = "@";
    std::string line = lineOf(status);
    return line.replace(line.find("\"@\""), 3, json);
}

const std::vector<std::string> oddValues = {"null",
                                            "true",
                                            "false",
                                            "0",
                                            "-0",
                                            "1",
                                            "-7",
                                            "0.25",
                                            "1e3",
                                            "1e-400",
                                            "18446744073709551615",
                                            "-9223372036854775808",
                                            "123456789012345678901234567890",
                                            "2147483648",
                                            "\"\"",
                                            "\"text\"",
                                            R"("\u001b[2J\u0000\u202e\ud83d\ude00")",
                                            "\"\xc3\xa4\"",
                                            "[]",
                                            "{}",
                                            R"(["md0",3,null,"m\n"])",
                                            R"({"outcome":"done","reason":7,"agoSeconds":12.6})",
                                            R"({"agoSeconds":true})"};

// What is no plain JSON, some of it all the same something that jsoncpp reads.
const std::vector<std::string> notPlain = {
    "",
    "nonsense",
    "[]",
    "null",
    "{}",
    "{\"version\":1",
    R"({"version":"1"})",
    R"({"version":1,"error":"too many"})",
    R"({"version":1} trailing)",
    R"({"version":1,})",
    R"( {"version":1})",
    "\xef\xbb\xbf{\"version\":1}",
    R"({"version":1/*comment*/})",
    R"({"version":1e999})",
    "{\"version\":1,\"x\":\"\xff\"}",
    "{\"version\":1,\"x\":\"a\tb\"}",
    R"({"version":1,"x":"\ud800"})",
    R"({"version":01})",
    R"({"version":NaN})",
    "{\"version\":1,\"x\":" + std::string(100'000, '[') + std::string(100'000, ']') + "}",
    "{\"version\":1,\"x\":" + std::string(40, '[') + std::string(40, ']') + "}"};

std::vector<std::string> lines() {
    std::vector<std::string> all = {healthy};
    const Json::Value status = healthyStatus();
    for (const std::string& key : status.getMemberNames()) {
        for (const std::string& value : oddValues) {
            all.push_back(lineWith(key, value));
        }
    }
    for (const char* part : {"valid", "ageSeconds", "reason"}) {
        for (const std::string& value : oddValues) {
            all.push_back(lineWithState(part, value));
        }
    }
    std::string twice = healthy;
    twice.pop_back();
    all.push_back(twice + R"(,"hbLatency":7,"readings":{}})");
    all.push_back(R"({"version":1})");
    return all;
}

std::string toldBy(const korahamonctl::Told& told) {
    return std::to_string(told.code) + "\n" + told.out + told.err;
}

std::string allTold(const korahamonctl::HealthRecord& record,
                    const korahamonctl::Criteria& criteria) {
    return toldBy(statusTold(record, criteria.paces)) + toldBy(checkTold(record, criteria));
}

TEST(Front, ReadsEveryRecordAsTheToolDoes) {
    const korahamonctl::Criteria criteria = korahamonctl::criteriaFrom("{}");
    std::size_t plain = 0;
    for (const std::string& line : lines()) {
        const auto record = plainRecord(line);
        if (!record) {
            continue;
        }
        ++plain;
        std::string problem;
        const auto status = korahamonctl::parseStatus(line, problem);
        ASSERT_TRUE(status) << line << problem;
        EXPECT_EQ(allTold(*record, criteria), allTold(korahamonctl::recordOf(*status), criteria))
            << line;
    }
    EXPECT_GT(plain, lines().size() * 9 / 10);
}

TEST(Front, LeavesWhatIsNotPlainToTheTool) {
    for (const std::string& line : notPlain) {
        EXPECT_FALSE(plainRecord(line)) << line.substr(0, 100);
    }
    EXPECT_FALSE(plainRecord("{\"version\":1,\"x\":\"" + std::string(2U << 20U, 'x') + "\"}"));
}

TEST(Front, TakesTheSameCriteriaFromAConfiguration) {
    for (const char* key : {"BASE_INTERVAL_BUSY_FLAG", "BASE_INTERVAL_ACTIVE",
                            "NUM_OF_REST_NETWORK", "THR_OF_HB_LATENCY", "THR_OF_HB_PKT_DROP"}) {
        for (const std::string& value : oddValues) {
            for (const std::string& text : {value, "\"" + value + "\"", value + "5"}) {
                const std::string configuration = std::string("{\"") + key + "\":" + text + "}";
                const auto ours = plainCriteria(configuration);
                if (!ours) {
                    continue;
                }
                const auto theirs = korahamonctl::criteriaFrom(configuration);
                EXPECT_EQ(ours->paces.peer, theirs.paces.peer) << configuration;
                EXPECT_EQ(ours->paces.checks, theirs.paces.checks) << configuration;
                EXPECT_EQ(ours->paces.interface, theirs.paces.interface) << configuration;
                EXPECT_EQ(ours->latencyThreshold, theirs.latencyThreshold) << configuration;
                EXPECT_EQ(ours->rateThreshold, theirs.rateThreshold) << configuration;
            }
        }
    }
    EXPECT_EQ(plainCriteria(R"({"BASE_INTERVAL_ACTIVE":"300"})")->paces.checks, 300);
    EXPECT_EQ(plainCriteria(R"({"THR_OF_HB_LATENCY":null})")->latencyThreshold, 0);
    for (const char* text : {"", "[]", "{", "{}x", "\xef\xbb\xbf{}", "{/* */}"}) {
        EXPECT_FALSE(plainCriteria(text)) << text;
    }
}

bool isPlain(std::vector<const char*> words) {
    words.insert(words.begin(), "korahamonctl");
    return plainRequest(static_cast<int>(words.size()), words.data()).has_value();
}

TEST(Front, TakesOnlyPlainCommandLines) {
    EXPECT_TRUE(isPlain({"status"}));
    EXPECT_TRUE(isPlain({"check", "--socket", "/s", "--config", "/c"}));
    EXPECT_TRUE(isPlain({"--config", "/c", "status", "--json", "--socket", "/s"}));
    for (const std::vector<const char*>& words :
         std::vector<std::vector<const char*>>{{},
                                               {"stat"},
                                               {"status", "check"},
                                               {"status", "status"},
                                               {"check", "--json"},
                                               {"--json", "status"},
                                               {"status", "--json", "--json"},
                                               {"status", "--wait", "1"},
                                               {"status", "--help"},
                                               {"--version"},
                                               {"status", "--socket"},
                                               {"status", "--socket", ""},
                                               {"status", "--socket", "--json"},
                                               {"status", "--socket", "status"},
                                               {"status", "--socket=/s"},
                                               {"status", "--socket", "/s", "--socket", "/s"},
                                               {"status", "--socket", "[/s]"},
                                               {"status", "--"},
                                               {"watch"},
                                               {"--socket", "/s"}}) {
        EXPECT_FALSE(isPlain(words)) << ::testing::PrintToString(words);
    }
    EXPECT_FALSE(plainRequest(0, nullptr));
}

// The built programs, on what daemons say and do.
TEST(Front, CannotBeToldFromTheTool) {
    std::vector<std::string> said = notPlain;
    said.insert(said.end(), {healthy, lineOf(healthyBut("remoteAlive", false)),
                             lineWith("degradedArrays", oddValues[20]), lineWith("pid", "1e999")});
    const std::string both =
        "for program in korahamonctl korahamon-tool; do for command in "
        "status 'status --json' check; do \"$(dirname \"$TOOL\")/$program\" "
        "--socket \"$1\" --config /nonexistent $command > \"$2/$program\" 2>&1; "
        "echo $? >> \"$2/$program\"; cat \"$2/$program\" >> "
        "\"$2/all-$program\"; done; done; "
        "cmp \"$2\"/all-*";
    for (const std::string& line : said) {
        const StatusServer server(StatusServer::saying(line));
        const ScratchDir scratch;
        const ToolRun run =
            runShell("set -- \"$1\" " + scratch.path() + "; " + both, server.path());
        EXPECT_EQ(run.code, 0) << line.substr(0, 100) << run.out << run.err;
        EXPECT_GT(scratch.read("all-korahamonctl").size(), 20U);
    }
}

TEST(Front, SaysWhenItsOutputCannotBeWritten) {
    const StatusServer fine(StatusServer::saying(healthy));
    const std::string command = "\"$TOOL\" --socket \"$1\" --config /nonexistent ";
    for (const char* lost : {" > /dev/full", " >&-"}) {
        const ToolRun status = runShell(command + "status" + lost, fine.path());
        EXPECT_EQ(status.code, 1);
        EXPECT_EQ(status.err, "korahamonctl: the output cannot be written\n");
        EXPECT_EQ(runShell(command + "check" + lost, fine.path()).code, 3);
    }
}

}  // namespace
