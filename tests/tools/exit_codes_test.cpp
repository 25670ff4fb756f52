// SPDX-License-Identifier: Apache-2.0
#include "tools/exit_codes.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <fstream>
#include <sstream>
#include <vector>

#include "records.h"
#include "run_tool.h"
#include "status_server.h"

namespace {

using namespace koraha::test;  // NOLINT(google-build-using-namespace)
using korahamonctl::exitCodesOf;
using ::testing::Gt;
using ::testing::HasSubstr;
using ::testing::Not;
using ::testing::SizeIs;

// A document's words, one blank between two of them.
std::string wordsIn(const std::string& text) {
    std::istringstream words(text);
    std::string out;
    for (std::string word; words >> word;) {
        out += (out.empty() ? "" : " ") + word;
    }
    return out;
}

std::string document(const std::string& path) {
    std::ifstream file(KORAHA_SOURCE_DIR "/" + path);
    std::ostringstream text;
    text << file.rdbuf();
    return wordsIn(text.str());
}

std::vector<std::string> commands() {
    std::istringstream help(runTool({"--help"}).out);
    std::vector<std::string> names;
    bool listed = false;
    for (std::string line; std::getline(help, line);) {
        if (listed && line.starts_with("  ") && line[2] != ' ') {
            names.push_back(line.substr(2, line.find(' ', 2) - 2));
        }
        listed = line.starts_with("Subcommands:") || (listed && !line.empty());
    }
    return names;
}

TEST(ExitCodes, StandInTheHelpOfTheirCommandAndOfNoOther) {
    ASSERT_THAT(commands(), SizeIs(Gt(9U)));
    for (const std::string& command : commands()) {
        const std::string help = runTool({command, "--help"}).out;
        EXPECT_THAT(help, HasSubstr("Exit codes:\n  0 ")) << command;
        EXPECT_EQ(help.find("Exit codes"), help.rfind("Exit codes")) << command;
        for (std::istringstream lines(help.substr(help.find("Exit codes"))); lines;) {
            std::string line;
            std::getline(lines, line);
            EXPECT_LE(line.size(), 80U) << command;
        }
    }
    EXPECT_THAT(runTool({"log", "--help"}).out, Not(HasSubstr("DRBD")));
    EXPECT_THAT(wordsIn(runTool({"peer-key", "new", "--help"}).out),
                HasSubstr("Exit codes: 0 done 1 there is no key"));
}

TEST(ExitCodes, AreTheSameInManualAndReadme) {
    const std::string manual = document("packaging/man/korahamonctl.8");
    const std::string readme = document("README.md");
    for (const std::string& command : commands()) {
        const std::string codes = exitCodesOf(command);
        EXPECT_THAT(manual, HasSubstr(".It Cm " + command + " " + codes + ".")) << command;
        EXPECT_THAT(readme, HasSubstr("- `" + command + "`: " + codes + ".")) << command;
    }
}

TEST(ExitCodes, TellThatTheOutputIsLost) {
    const StatusServer fine(StatusServer::saying(lineOf(healthyStatus())));
    for (const char* lost : {"> /dev/full", ">&-"}) {
        for (const char* command : {"status", "explain 87", "status --help", "--version"}) {
            const ToolRun run = runShell("\"$TOOL\" --socket \"$1\" " + std::string(command) +
                                             " --config /nonexistent " + lost,
                                         fine.path());
            EXPECT_EQ(run.code, 1) << command << lost << run.err;
            EXPECT_THAT(run.err, HasSubstr("the output cannot be written")) << command << lost;
        }
        EXPECT_EQ(
            runShell("\"$TOOL\" --socket \"$1\" check " + std::string(lost), fine.path()).code, 3);
    }
}

TEST(ExitCodes, EndQuietlyWhereTheReaderHasSeenEnough) {
    const ScratchDir scratch;
    std::string lines;
    while (lines.size() < std::size_t{1} << 20U) {
        lines += "more than a pipe holds\n";
    }
    const ToolRun run =
        runShell("\"$TOOL\" log -n 0 --file \"$1\" | head -n 1; echo \"${PIPESTATUS[0]}\"",
                 scratch.write("log", lines));
    EXPECT_EQ(run.err, "");
    EXPECT_EQ(run.out, "more than a pipe holds\n141\n");
}

// What is meant for a person must not go to the daemon, whose connection would take the place.
TEST(ExitCodes, ClosedDescriptorsAreNotTakenByAnother) {
    std::string got;
    {
        const StatusServer server([&](int client) {
            got += requestOf(client) + "\n";
            say(client, lineOf(healthyStatus()) + "\n");
            got += requestOf(client);
        });
        const ToolRun run =
            runShell("\"$TOOL\" --socket \"$1\" status <&- >&- 2>&-", server.path());
        EXPECT_EQ(run.code, 1);
    }
    EXPECT_EQ(got, "{\"request\":\"status\"}\n");
}

}  // namespace
