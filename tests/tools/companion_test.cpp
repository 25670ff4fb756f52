// SPDX-License-Identifier: Apache-2.0
// The program that the tool becomes for some of its commands: where it is sought.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "run_tool.h"
#include "tests/support/scratch_dir.h"

namespace {

using namespace koraha::test;  // NOLINT(google-build-using-namespace)
using ::testing::HasSubstr;

const std::string toolAlone = "mkdir \"$1/bin\" && cp \"$TOOL\" \"$1/bin/\" && cd \"$1\" && ";

TEST(Companion, IsSoughtBesideTheTool) {
    const ScratchDir scratch;
    const ToolRun run = runShell(toolAlone +
                                     "ln -s \"$(dirname \"$TOOL\")/korahamon-exporter\" bin/ && "
                                     "bin/korahamonctl --socket /nonexistent/socket metrics",
                                 scratch.path());
    EXPECT_EQ(run.code, 3) << run.err;
    EXPECT_THAT(run.out, HasSubstr("\nkoraha_up 0\n"));
}

TEST(Companion, IsSoughtWhereItIsInstalled) {
    const ScratchDir scratch;
    const ToolRun run =
        runShell(toolAlone +
                     "mkdir -p libexec/koraha && "
                     "ln -s \"$(dirname \"$TOOL\")/korahamon-exporter\" libexec/koraha/ && "
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
    EXPECT_EQ(run.err,
              "korahamonctl: cannot run " + scratch.path() +
                  "/bin/../libexec/koraha/korahamon-exporter: No such file or directory\n");
}

// Neither help nor wrong usage needs it.
TEST(Companion, IsNotWantedBeforeItIsNeeded) {
    const ScratchDir scratch;
    const ToolRun help = runShell(toolAlone + "bin/korahamonctl metrics --help", scratch.path());
    EXPECT_EQ(help.code, 0) << help.err;
    EXPECT_THAT(help.out, HasSubstr("3 the daemon does not answer"));
    const ScratchDir other;
    const ToolRun wrong = runShell(toolAlone + "bin/korahamonctl exporter --port 1", other.path());
    EXPECT_EQ(wrong.code, 2) << wrong.err;
}

}  // namespace
