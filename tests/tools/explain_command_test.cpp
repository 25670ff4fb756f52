// SPDX-License-Identifier: Apache-2.0
#include "tools/explain_command.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <set>
#include <sstream>

#include "run_tool.h"
#include "tools/message_table.h"

namespace {

using koraha::test::runTool;
using koraha::test::ToolRun;
using korahamonctl::Message;
using korahamonctl::messageOf;
using korahamonctl::messageTable;
using ::testing::HasSubstr;
using ::testing::IsSupersetOf;
using ::testing::Not;

struct Explained {
    int code = -1;
    std::string out;
    std::string err;
};

Explained explain(const std::string& asked) {
    std::ostringstream out;
    std::ostringstream err;
    const int code = korahamonctl::explain(asked, out, err);
    return {code, out.str(), err.str()};
}

std::string textOf(const std::filesystem::path& path) {
    std::ifstream file(path);
    return {std::istreambuf_iterator<char>(file), {}};
}

// The numbers that stand in the text between these two.
std::set<int> numbersIn(const std::string& text, const std::string& before,
                        const std::string& behind = {}) {
    std::set<int> numbers;
    for (auto at = text.find(before); at != std::string::npos; at = text.find(before, at + 1)) {
        const auto begin = at + before.size();
        const auto end = text.find_first_not_of("0123456789", begin);
        if (end != std::string::npos && end != begin &&
            text.compare(end, behind.size(), behind) == 0) {
            numbers.insert(std::stoi(text.substr(begin, end - begin)));
        }
    }
    return numbers;
}

// A text that goes on in the next line of its source, in one.
std::string joinedTexts(const std::string& source) {
    std::string joined;
    for (std::size_t at = 0; at < source.size(); ++at) {
        const auto next = source.find_first_not_of(" \n", at + 1);
        if (source.compare(at, 2, "\"\n") == 0 && next != std::string::npos &&
            source[next] == '"') {
            at = next;
        } else {
            joined += source[at];
        }
    }
    return joined;
}

std::set<int> knownNumbers() {
    std::set<int> numbers;
    for (const Message& message : messageTable()) {
        numbers.insert(message.number);
    }
    return numbers;
}

TEST(MessageTable, KnowsEveryNumberInTheSources) {
    std::set<int> used;
    for (const char* folder : {"daemon", "config", "monitor", "server", "log"}) {
        for (const auto& entry : std::filesystem::recursive_directory_iterator(
                 std::string(KORAHA_SOURCE_DIR "/") + folder)) {
            if (entry.is_regular_file()) {
                used.merge(numbersIn(textOf(entry.path()), "Line = ", ";"));
            }
        }
    }
    // The heartbeat monitors list theirs as the members of a table.
    used.merge(
        numbersIn(textOf(KORAHA_SOURCE_DIR "/monitor/heartbeat_monitors.cpp"), "\n    ", ",\n"));
    EXPECT_GE(used.size(), 24U);
    EXPECT_THAT(knownNumbers(), IsSupersetOf(used));
}

TEST(MessageTable, KnowsEveryNumberInTheReadme) {
    const std::string readme = textOf(KORAHA_SOURCE_DIR "/README.md");
    std::set<int> told = numbersIn(readme, "koraharemotemond:");
    told.merge(numbersIn(readme, "int_daemon_conf:"));
    EXPECT_GE(told.size(), 20U);
    EXPECT_THAT(knownNumbers(), IsSupersetOf(told));
}

TEST(MessageTable, HasTheTextsOfTheSources) {
    std::string sources;
    for (const char* folder : {"daemon", "config", "monitor", "server", "hasupport"}) {
        for (const auto& entry : std::filesystem::recursive_directory_iterator(
                 std::string(KORAHA_SOURCE_DIR "/") + folder)) {
            if (entry.path().extension() == ".cpp") {
                sources += textOf(entry.path());
            }
        }
    }
    sources = joinedTexts(sources);
    for (const Message& message : messageTable()) {
        EXPECT_NE(sources.find(message.text), std::string::npos) << message.text;
    }
}

TEST(MessageOf, FindsTheMessageInALineOfALog) {
    const Message* slow = messageOf(
        "2026-11-21T07:00:00.123456Z koraharemotemond:331 [Latency Fail] Heartbeat too slow: 7.0");
    ASSERT_NE(slow, nullptr);
    EXPECT_EQ(slow->number, 331);
    EXPECT_EQ(messageOf("331"), slow);
    EXPECT_EQ(messageOf("koraharemotemond:331"), slow);
    EXPECT_EQ(messageOf("Nov 21 node1 koraharemotemond[7]: koraharemotemond:529 Bad parameter"),
              messageOf("529"));
    const Message* peer =
        messageOf("Nov 21 node1 koraharemotemond: libkorahadaemon: the peer is not served: no key");
    ASSERT_NE(peer, nullptr);
    EXPECT_EQ(peer->text, "the peer is not served: ");
}

TEST(MessageOf, FindsNothingInWhatIsNone) {
    for (const char* line :
         {"", "0", "332", "33", "3310", "koraharemotemond:33", "koraharemotemond:3310 x",
          "int_daemon_conf:331 x", "koraharemotemond: 331", "99999999999999999999", "hello",
          "libkorahadaemon: something else", "the peer is not served: no key"}) {
        EXPECT_EQ(messageOf(line), nullptr) << line;
    }
}

TEST(Explain, SaysWhatAMessageMeansAndWhatToDo) {
    const Explained one = explain("331");
    EXPECT_EQ(one.code, 0);
    EXPECT_THAT(one.out, HasSubstr("koraharemotemond:331 [Latency Fail] Heartbeat too slow: \n"));
    EXPECT_THAT(one.out, HasSubstr("  means  several samples"));
    EXPECT_THAT(one.out, HasSubstr("  do     look at the load"));
    EXPECT_THAT(one.out, HasSubstr("  topic  latency\n"));
    EXPECT_THAT(one.out, Not(HasSubstr("337")));
}

TEST(Explain, TakesAPartOfATextOrALineWithoutItsPrefix) {
    const Explained part = explain("TOO MANY errors");
    EXPECT_EQ(part.code, 0);
    EXPECT_THAT(part.out, HasSubstr(":414 "));
    EXPECT_THAT(part.out, HasSubstr(":416 "));
    EXPECT_THAT(explain("Delete flag: /tmp/ha/ha_remote_busy").out, HasSubstr(":94 "));
    EXPECT_THAT(explain("the peer is not served: no key").out, HasSubstr("libkorahadaemon: the"));
}

TEST(Explain, ListsEverythingWhenNothingIsAsked) {
    const Explained all = explain("");
    EXPECT_EQ(all.code, 0);
    for (const Message& message : messageTable()) {
        EXPECT_THAT(all.out, HasSubstr(std::string(message.text)));
    }
}

TEST(Explain, EndsWithOneWhereNothingFits) {
    const Explained none = explain("no such \x1b[2J thing" + std::string(5000, 'x'));
    EXPECT_EQ(none.code, 1);
    EXPECT_EQ(none.out, "");
    EXPECT_THAT(none.err, HasSubstr("no such \\x1b[2J thing"));
    EXPECT_LT(none.err.size(), 400U);
}

TEST(Explain, TakesItsWordsFromTheCommandLine) {
    const ToolRun run =
        runTool({"explain", "koraharemotemond:566", "Failed", "to", "do", "server"});
    EXPECT_EQ(run.code, 0) << run.err;
    EXPECT_THAT(run.out, HasSubstr("koraharemotemond:566 Failed to do "));
    EXPECT_EQ(runTool({"explain", "99"}).code, 0);
    EXPECT_EQ(runTool({"explain", "zzzz"}).code, 1);
    EXPECT_EQ(runTool({"explain", "--loud"}).code, 2);
}

}  // namespace
