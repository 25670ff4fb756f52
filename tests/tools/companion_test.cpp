// SPDX-License-Identifier: Apache-2.0
// The programs that the tool becomes for some of its commands: where they are sought.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "records.h"
#include "run_tool.h"
#include "status_server.h"
#include "tests/support/scratch_dir.h"

namespace {

using namespace koraha::test;  // NOLINT(google-build-using-namespace)
using ::testing::HasSubstr;

const std::string toolAlone = "mkdir \"$1/bin\" && cp \"$TOOL\" \"$1/bin/\" && cd \"$1\" && ";

// The programs PROGRAM... of the build tree, in a directory.
std::string with(const std::string& directory, const std::string& programs) {
    return "mkdir -p " + directory + " && for program in " + programs +
           "; do cp \"$(dirname \"$TOOL\")/$program\" " + directory + "/ || exit; done && ";
}

TEST(Companion, IsSoughtBesideTheTool) {
    const ScratchDir scratch;
    const ToolRun run = runShell(toolAlone + with("bin", "korahamon-tool korahamon-exporter") +
                                     "bin/korahamonctl --socket /nonexistent/socket metrics",
                                 scratch.path());
    EXPECT_EQ(run.code, 3) << run.err;
    EXPECT_THAT(run.out, HasSubstr("\nkoraha_up 0\n"));
}

TEST(Companion, IsSoughtWhereItIsInstalled) {
    const ScratchDir scratch;
    const ToolRun run =
        runShell(toolAlone + with("libexec/koraha", "korahamon-tool korahamon-exporter") +
                     "cd / && PATH=$1/bin korahamonctl --socket /nonexistent/socket metrics",
                 scratch.path());
    EXPECT_EQ(run.code, 3) << run.err;
    EXPECT_THAT(run.out, HasSubstr("\nkoraha_up 0\n"));
}

TEST(Companion, IsNamedWhereThereIsNone) {
    const ScratchDir scratch;
    const ToolRun run = runShell(toolAlone + "bin/korahamonctl exporter", scratch.path());
    EXPECT_EQ(run.code, 1);
    EXPECT_EQ(run.out, "");
    EXPECT_EQ(run.err, "korahamonctl: cannot run " + scratch.path() +
                           "/bin/../libexec/koraha/korahamon-tool: No such file or directory\n");
    // To a monitoring system 1 is a warning.
    const ScratchDir other;
    EXPECT_EQ(runShell(toolAlone + "bin/korahamonctl check --help", other.path()).code, 3);
}

// Neither help nor wrong usage needs the exporter.
TEST(Companion, IsNotWantedBeforeItIsNeeded) {
    const std::string tool = toolAlone + with("bin", "korahamon-tool");
    const ScratchDir scratch;
    const ToolRun help = runShell(tool + "bin/korahamonctl metrics --help", scratch.path());
    EXPECT_EQ(help.code, 0) << help.err;
    EXPECT_THAT(help.out, HasSubstr("3 the daemon does not answer"));
    const ScratchDir other;
    const ToolRun wrong = runShell(tool + "bin/korahamonctl exporter --port 1", other.path());
    EXPECT_EQ(wrong.code, 2) << wrong.err;
    const ScratchDir third;
    const ToolRun run = runShell(tool + "bin/korahamonctl exporter", third.path());
    EXPECT_EQ(run.code, 1);
    EXPECT_THAT(run.err, HasSubstr("cannot run " + third.path()));
    EXPECT_THAT(run.err, HasSubstr("korahamon-exporter: No such file or directory\n"));
}

// What monitoring systems ask for needs no other program at all.
TEST(Companion, IsNotWantedForStatusAndCheck) {
    const StatusServer fine(StatusServer::saying(lineOf(healthyStatus())));
    for (const char* command : {"status", "status --json", "check"}) {
        const ScratchDir scratch;
        const ToolRun run = runShell(toolAlone + "bin/korahamonctl --socket " + fine.path() +
                                         " --config /nonexistent " + command,
                                     scratch.path());
        EXPECT_EQ(run.code, 0) << run.err;
        EXPECT_NE(run.out, "");
        EXPECT_EQ(run.err, "");
    }
    const ScratchDir scratch;
    const ToolRun nobody =
        runShell(toolAlone + "bin/korahamonctl --socket /nonexistent/socket check", scratch.path());
    EXPECT_EQ(nobody.code, 3);
    EXPECT_THAT(nobody.out, HasSubstr("UNKNOWN - the daemon does not answer"));
}

}  // namespace
