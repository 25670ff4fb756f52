// SPDX-License-Identifier: Apache-2.0
// The built program as a whole: what it takes, what it ends with, what goes where.
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/stat.h>

#include "records.h"
#include "run_tool.h"
#include "status_server.h"

namespace {

using namespace koraha::test;  // NOLINT(google-build-using-namespace)
using ::testing::HasSubstr;

TEST(CommandLine, ShowsHelpAndVersion) {
    const ToolRun help = runTool({"--help"});
    EXPECT_EQ(help.code, 0);
    for (const char* word : {"status", "watch", "check-config", "peer-key", "exit codes"}) {
        EXPECT_THAT(help.out, HasSubstr(word));
    }
    EXPECT_EQ(runTool({"status", "--help"}).code, 0);
    const ToolRun version = runTool({"--version"});
    EXPECT_EQ(version.code, 0);
    EXPECT_EQ(version.out, std::string("korahamonctl ") + KORAHA_VERSION + "\n");
}

TEST(CommandLine, EndsWithTwoOnUsage) {
    for (const std::vector<std::string>& arguments :
         std::vector<std::vector<std::string>>{{},
                                               {"stat"},
                                               {"status", "--wide"},
                                               {"status", "extra"},
                                               {"status", "--wait", "-1"},
                                               {"status", "--wait", "soon"},
                                               {"status", "--socket"},
                                               {"check-config", "one", "two"},
                                               {"peer-key"},
                                               {"peer-key", "new", "--next", "--commit"},
                                               {"peer-key", "show"}}) {
        const ToolRun run = runTool(arguments);
        EXPECT_EQ(run.code, 2) << (arguments.empty() ? "" : arguments.back());
        EXPECT_EQ(run.out, "");
        EXPECT_NE(run.err, "");
    }
}

TEST(CommandLine, NamesTheCommandThatThereIsNot) {
    const ToolRun run = runTool({"sta\x1b[31mtus", "--json"});
    EXPECT_EQ(run.code, 2);
    EXPECT_EQ(run.err, "korahamonctl: no such command: sta\\x1b[31mtus (--help lists them)\n");
    EXPECT_THAT(runTool({}).err, HasSubstr("A subcommand is required"));
}

TEST(CommandLine, ShowsPathsSafely) {
    const std::string path = "/nonexistent/\x1b[31m";
    EXPECT_THAT(runTool({"check-config", path}).out, HasSubstr("/nonexistent/\\x1b[31m: no such"));
    EXPECT_THAT(runTool({"peer-key", "show-fingerprint", "--file", path}).err,
                HasSubstr("/nonexistent/\\x1b[31m: there is no key"));
    EXPECT_EQ(runTool({"log", "--file", "/"}).err, "korahamonctl: /: Is a directory\n");
}

TEST(CommandLine, AsksTheDaemon) {
    const StatusServer fine(StatusServer::saying(lineOf(healthyStatus())));
    const ToolRun shown = runTool({"status", "--socket", fine.path(), "--config", "/nonexistent"});
    EXPECT_EQ(shown.code, 0) << shown.err;
    EXPECT_THAT(shown.out, HasSubstr("DRBD                connected"));
    const ToolRun json = runTool({"--socket", fine.path(), "status", "--json"});
    EXPECT_EQ(json.out, lineOf(healthyStatus()) + "\n");

    const StatusServer bad(StatusServer::saying(lineOf(healthyBut("remoteAlive", false))));
    EXPECT_EQ(runTool({"status", "--socket", bad.path()}).code, 1);

    const ToolRun nobody = runTool({"status", "--socket", "/nonexistent/socket"});
    EXPECT_EQ(nobody.code, 3);
    EXPECT_EQ(nobody.out, "");
    EXPECT_EQ(nobody.err,
              "korahamonctl: the daemon does not answer: /nonexistent/socket: No such file or "
              "directory\n"
              "Is it running? korahamonctl doctor looks for what keeps it from working.\n");
}

TEST(CommandLine, Watches) {
    const StatusServer server([](int client) {
        requestOf(client);
        say(client, lineOf(healthyStatus()) + "\n");
    });
    const ToolRun run = runTool({"watch", "--json", "--socket", server.path()});
    EXPECT_EQ(run.code, 3);
    EXPECT_EQ(run.out, lineOf(healthyStatus()) + "\n");
}

TEST(CommandLine, ChecksAConfiguration) {
    const ScratchDir scratch;
    EXPECT_EQ(runTool({"check-config", scratch.write("fine", "{}")}).code, 0);
    EXPECT_EQ(runTool({"check-config", scratch.write("bad", "{")}).code, 1);
    EXPECT_EQ(runTool({"check-config", "--config", scratch.path("bad")}).code, 1);
}

TEST(CommandLine, MakesAndShowsAKey) {
    const ScratchDir scratch;
    const std::string key = scratch.path("key");
    ASSERT_EQ(runTool({"peer-key", "--file", key, "new"}).code, 0);
    struct stat info {};
    ASSERT_EQ(::stat(key.c_str(), &info), 0);
    EXPECT_EQ(info.st_mode & 07777U, 0600U);
    EXPECT_EQ(runTool({"peer-key", "new", "--file", key}).code, 1);
    const ToolRun shown = runTool({"peer-key", "show-fingerprint", "--file", key});
    EXPECT_EQ(shown.code, 0);
    EXPECT_EQ(shown.out.size(), 17U);
}

}  // namespace
