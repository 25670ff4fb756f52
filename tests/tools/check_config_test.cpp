// SPDX-License-Identifier: Apache-2.0
#include "tools/check_config.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/stat.h>

#include <sstream>

#include "config/config_table.h"
#include "tests/support/scratch_dir.h"

namespace {

using koraha::test::ScratchDir;
using korahamonctl::checkConfigText;
using ::testing::AllOf;
using ::testing::Contains;
using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using ::testing::Not;

struct Checked {
    int code = -1;
    std::string out;
    std::string err;
};

Checked check(const std::string& path) {
    std::ostringstream out;
    std::ostringstream err;
    const int code = korahamonctl::checkConfigFile(path, out, err);
    return {code, out.str(), err.str()};
}

std::vector<std::string> problemsOf(const std::string& member) {
    return checkConfigText("{" + member + "}").problems;
}

TEST(CheckConfig, FindsEveryDefaultFine) {
    std::string text = "{\n// every setting\n";
    for (const auto& [type, entry] : KORA::HA::Daemon::configTable()) {
        text += (text.size() > 30 ? ",\"" : "\"") + entry.first + "\":" + entry.second;
    }
    const auto findings = checkConfigText(text + "}");
    EXPECT_THAT(findings.problems, IsEmpty());
    EXPECT_THAT(findings.notes, IsEmpty());
    EXPECT_THAT(checkConfigText("{}").problems, IsEmpty());
}

TEST(CheckConfig, TellsWhatDoesNotParse) {
    for (const char* text : {"", "{", "{\"THR_OF_HB_LATENCY\":}", "nonsense", "{\"a\":1,,}"}) {
        EXPECT_THAT(checkConfigText(text).problems,
                    ElementsAre(HasSubstr("does not parse, so the daemon does not start")))
            << text;
    }
    EXPECT_THAT(checkConfigText("{\n\"a\": 1\n\"b\": 2}").problems,
                ElementsAre(HasSubstr("Line 3")));
    EXPECT_THAT(checkConfigText(std::string(100'000, '[')).problems,
                ElementsAre(HasSubstr("does not parse")));
}

TEST(CheckConfig, TellsATopLevelThatIsNoObject) {
    for (const char* text : {"[]", "[{\"THR_OF_HB_LATENCY\":1}]"}) {
        EXPECT_THAT(checkConfigText(text).problems, ElementsAre(HasSubstr("no JSON object")));
    }
}

TEST(CheckConfig, NamesUnknownKeysAndTheNearestKnownOne) {
    EXPECT_THAT(
        problemsOf("\"THR_OF_HB_LATENCI\":5"),
        ElementsAre(AllOf(HasSubstr("no such setting"), HasSubstr("is THR_OF_HB_LATENCY meant?"))));
    EXPECT_THAT(problemsOf("\"colour\":5"),
                ElementsAre(AllOf(HasSubstr("no such setting"), Not(HasSubstr("meant?")))));
}

TEST(CheckConfig, TellsTypesThatTheDaemonCannotUse) {
    for (const char* value : {"[]", "[1]", "{}"}) {
        EXPECT_THAT(problemsOf("\"THR_OF_HB_LATENCY\":" + std::string(value)),
                    ElementsAre(HasSubstr("ends the daemon")))
            << value;
    }
    for (const char* value : {"3000000000", "2147483647.5", "2147483648.0"}) {
        EXPECT_THAT(problemsOf("\"SIZE_MAX_OF_LOG_FILE\":" + std::string(value)),
                    ElementsAre(HasSubstr("out of range")))
            << value;
    }
    EXPECT_THAT(problemsOf("\"SIZE_MAX_OF_LOG_FILE\":-2147483648.5"),
                Contains(HasSubstr("out of range")));
    for (const char* value : {"2147483647", "2147483646.5"}) {
        EXPECT_THAT(problemsOf("\"SIZE_MAX_OF_LOG_FILE\":" + std::string(value)), IsEmpty());
    }
}

TEST(CheckConfig, JudgesNullTrueAndFalseAsTheNumbersThatTheyCountAs) {
    EXPECT_THAT(problemsOf("\"SIZE_MAX_OF_LOG_FILE\":true"),
                ElementsAre(HasSubstr("true counts as 1, not as the default")));
    EXPECT_THAT(problemsOf("\"SIZE_MAX_OF_LOG_FILE\":false"),
                ElementsAre(HasSubstr("false counts as 0"), HasSubstr("rotated at each check")));
    EXPECT_THAT(problemsOf("\"THR_OF_HB_LATENCY\":null"),
                ElementsAre(HasSubstr("null counts as 0"), HasSubstr("reached by every sample")));
}

TEST(CheckConfig, JudgesTextsAsTheDaemonReadsThem) {
    const auto fine = checkConfigText(R"({"THR_OF_HB_LATENCY":" +7.5 "})");
    EXPECT_THAT(fine.problems, IsEmpty());
    EXPECT_THAT(fine.notes, ElementsAre(HasSubstr("counts as that number")));
    for (const char* value : {"\"\"", "\"soon\"", "\"1e99\"", "\"inf\"", "\"5 s\""}) {
        EXPECT_THAT(problemsOf("\"BASE_INTERVAL_ACTIVE\":" + std::string(value)),
                    ElementsAre(HasSubstr("the default holds")))
            << value;
    }
    EXPECT_THAT(problemsOf("\"BASE_INTERVAL_ACTIVE\":\"-3\""),
                ElementsAre(HasSubstr("negative interval")));
}

TEST(CheckConfig, JudgesIntervalsAndRests) {
    EXPECT_THAT(problemsOf("\"BASE_INTERVAL_ACTIVE\":-1"),
                ElementsAre(HasSubstr("pauses practically for ever")));
    EXPECT_THAT(problemsOf("\"BASE_INTERVAL_LOG_WRITE\":0"),
                ElementsAre(HasSubstr("without a pause")));
    EXPECT_THAT(problemsOf("\"BASE_INTERVAL_ACTIVE\":1"), IsEmpty());
    EXPECT_THAT(problemsOf("\"BASE_INTERVAL_ACTIVE\":10000000"),
                ElementsAre(HasSubstr("practically never")));
    EXPECT_THAT(problemsOf("\"NUM_OF_REST_NETWORK\":-1"),
                ElementsAre(HasSubstr("then practically never")));
    EXPECT_THAT(problemsOf("\"NUM_OF_REST_NETWORK\":0"), IsEmpty());
    EXPECT_THAT(checkConfigText(R"({"BASE_INTERVAL_ACTIVE":2.5})").notes,
                ElementsAre(HasSubstr("the fraction is cut off")));
}

TEST(CheckConfig, JudgesThresholdsAndTheLogSize) {
    EXPECT_THAT(problemsOf("\"THR_OF_HB_LATENCY\":1499.9"), IsEmpty());
    EXPECT_THAT(problemsOf("\"THR_OF_HB_LATENCY\":1500"),
                ElementsAre(HasSubstr("a dead link reads as normal")));
    EXPECT_THAT(problemsOf("\"THR_OF_HB_LATENCY\":0"),
                ElementsAre(HasSubstr("reached by every sample")));
    EXPECT_THAT(problemsOf("\"THR_OF_HB_PKT_DROP\":5"), ElementsAre(HasSubstr("never notifies")));
    EXPECT_THAT(problemsOf("\"SIZE_MAX_OF_LOG_FILE\":0"),
                ElementsAre(HasSubstr("rotated at each check")));
}

TEST(CheckConfig, EndsWithOneOnProblemsAndZeroWithout) {
    const ScratchDir scratch;
    const Checked fine = check(scratch.write("fine", R"({"THR_OF_HB_LATENCY":50})"));
    EXPECT_EQ(fine.code, 0);
    EXPECT_THAT(fine.out, HasSubstr("fine: fine\n"));
    const Checked bad = check(scratch.write("bad", R"({"THR_OF_HB_LATENCY":[],"x":1})"));
    EXPECT_EQ(bad.code, 1);
    EXPECT_THAT(bad.out, AllOf(HasSubstr("ends the daemon"), HasSubstr("no such setting")));
    EXPECT_THAT(bad.out, Not(HasSubstr(": fine")));
    const Checked note = check(scratch.write("note", R"({"THR_OF_HB_LATENCY":"50"})"));
    EXPECT_EQ(note.code, 0);
    EXPECT_THAT(note.out, HasSubstr("note: "));
}

TEST(CheckConfig, TakesAMissingFileAsTheDefaults) {
    const ScratchDir scratch;
    const Checked missing = check(scratch.path("absent"));
    EXPECT_EQ(missing.code, 0);
    EXPECT_THAT(missing.out, HasSubstr("all settings keep their defaults"));
}

TEST(CheckConfig, TellsWhatCannotBeRead) {
    const ScratchDir scratch;
    EXPECT_EQ(check(scratch.path()).code, 1);
    EXPECT_THAT(check(scratch.path()).err, HasSubstr("Is a directory"));
    EXPECT_THAT(check(scratch.write("below", "") + "/file").err, HasSubstr("Not a directory"));
    EXPECT_THAT(check("/dev/zero").err, HasSubstr("File too large"));
    ASSERT_EQ(::mkfifo(scratch.path("fifo").c_str(), 0600), 0);
    EXPECT_EQ(check(scratch.path("fifo")).code, 1);  // and does not wait for a writer
}

TEST(CheckConfig, ShowsHostileTextSafely) {
    const ScratchDir scratch;
    const Checked evil = check(
        scratch.write("evil", "{\"\x1b[2J\":1,\"THR_OF_HB_LATENCY\":\"\\u001b[31m\",\"\xff\":[]}"));
    EXPECT_EQ(evil.code, 1);
    EXPECT_THAT(evil.out, Not(HasSubstr("\x1b")));
    EXPECT_THAT(evil.out, Not(HasSubstr("\xff")));
    EXPECT_THAT(evil.out, HasSubstr("\\x1b[31m"));
}

}  // namespace
