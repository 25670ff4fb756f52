// SPDX-License-Identifier: Apache-2.0
// The built program's metrics and exporter commands.
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/stat.h>

#include "tests/tools/records.h"
#include "tests/tools/run_tool.h"
#include "tests/tools/status_server.h"

namespace {

using namespace koraha::test;  // NOLINT(google-build-using-namespace)
using ::testing::ContainsRegex;
using ::testing::HasSubstr;

TEST(MetricsCommand, PrintsThemOnce) {
    const StatusServer server(StatusServer::saying(lineOf(healthyStatus())));
    const ToolRun run = runTool({"metrics", "--socket", server.path(), "--config", "/nonexistent"});
    EXPECT_EQ(run.code, 0) << run.err;
    EXPECT_THAT(run.out, HasSubstr("\n# TYPE koraha_peer_alive gauge\nkoraha_peer_alive 1\n"));
    EXPECT_EQ(run.err, "");
}

TEST(MetricsCommand, SaysDownWithoutADaemon) {
    const ToolRun run = runTool({"metrics", "--socket", "/nonexistent/socket"});
    EXPECT_EQ(run.code, 3);
    EXPECT_THAT(run.out, HasSubstr("\nkoraha_up 0\n"));
    EXPECT_EQ(run.err,
              "korahamonctl: the daemon does not answer: /nonexistent/socket: No such file or "
              "directory\n");
}

TEST(MetricsCommand, PutsThemIntoAFileForAll) {
    const StatusServer server(StatusServer::saying(lineOf(healthyStatus())));
    const ScratchDir scratch;
    const std::string file = scratch.write("koraha.prom", "old");
    EXPECT_EQ(runTool({"metrics", "--socket", server.path(), "-o", file}).code, 0);
    EXPECT_THAT(scratch.read("koraha.prom"), HasSubstr("\nkoraha_peer_alive 1\n"));
    struct stat info {};
    ASSERT_EQ(::stat(file.c_str(), &info), 0);
    EXPECT_EQ(info.st_mode & 07777U, 0644U);
    EXPECT_EQ(runTool({"metrics", "--socket", "/nonexistent/socket", "-o", file}).code, 3);
    EXPECT_THAT(scratch.read("koraha.prom"), HasSubstr("\nkoraha_up 0\n"));

    const ToolRun nowhere = runTool({"metrics", "--output", "/nonexistent/dir/file"});
    EXPECT_EQ(nowhere.code, 1);
    EXPECT_EQ(nowhere.err, "korahamonctl: /nonexistent/dir/file: No such file or directory\n");
}

TEST(ExporterCommand, EndsWhenToldTo) {
    const ScratchDir scratch;
    const ToolRun run = runShell(
        "\"$TOOL\" --socket /nonexistent exporter --listen 127.0.0.1:0 > \"$1\" & exporter=$!\n"
        "for i in {1..300}; do grep -q ^serving \"$1\" && break; sleep 0.1; done\n"
        "cat \"$1\"; kill $exporter; wait $exporter; echo \"$?\"",
        scratch.write("said", ""));
    EXPECT_THAT(run.out, ContainsRegex("^serving on http://127.0.0.1:[0-9]+/\n0\n$"));
    EXPECT_EQ(run.err, "");
}

TEST(ExporterCommand, EndsWhenItCannotServe) {
    const ToolRun name = runTool({"exporter", "--listen", "localhost:80"});
    EXPECT_EQ(name.code, 2);
    EXPECT_EQ(name.err, "korahamonctl: no address and port: localhost:80\n");
    const ToolRun foreign = runTool({"exporter", "--listen", "192.0.2.1:18909"});
    EXPECT_EQ(foreign.code, 1);
    EXPECT_THAT(foreign.err, HasSubstr("korahamonctl: cannot serve on 192.0.2.1:18909"));
}

}  // namespace
