// SPDX-License-Identifier: Apache-2.0
#include "tools/check_command.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <sstream>

#include "records.h"
#include "run_tool.h"
#include "status_server.h"

namespace {

using namespace koraha::test;  // NOLINT(google-build-using-namespace)
using ::testing::HasSubstr;
using ::testing::StartsWith;

struct Checked {
    int code = -1;
    std::string line;
};

Checked check(const Json::Value& status, const std::string& configuration = "{}") {
    const StatusServer server(StatusServer::saying(lineOf(status)));
    const ScratchDir scratch;
    korahamonctl::StatusOptions options;
    options.socketPath = server.path();
    options.configuration = scratch.write("conf", configuration);
    std::ostringstream out;
    const int code = korahamonctl::checkHealth(options, out);
    const std::string line = out.str();
    EXPECT_EQ(std::count(line.begin(), line.end(), '\n'), 1) << line;
    EXPECT_EQ(std::count(line.begin(), line.end(), '|'), 1) << line;
    return {code, line};
}

TEST(Check, IsOkWhenAllIsWell) {
    const Checked fine = check(healthyStatus());
    EXPECT_EQ(fine.code, 0);
    EXPECT_EQ(fine.line,
              "KORAHA OK - all is well | heartbeat=0.310ms;100;;0 "
              "failed_packets=0.000000;0.001;;0\n");
    EXPECT_EQ(check(healthyBut("localMDResync", true)).code, 0);
}

TEST(Check, IsCriticalWhenSomethingIsWrong) {
    for (const Json::Value& status :
         {healthyBut("remoteAlive", false), healthyBut("drbdConnected", false),
          healthyBut("localDiskErrHandling", true), healthyBut("remoteDiskErrHandling", true)}) {
        EXPECT_EQ(check(status).code, 2);
        EXPECT_THAT(check(status).line, StartsWith("KORAHA CRITICAL - "));
    }
    Json::Value status = healthyStatus();
    status["degradedArrays"].append("md0");
    EXPECT_THAT(check(status).line, StartsWith("KORAHA CRITICAL - degraded array md0 | "));
}

TEST(Check, IsUnknownWhenSomethingIsNotKnown) {
    const Checked unknown = check(healthyWithout("hbLatency", "no permission"));
    EXPECT_EQ(unknown.code, 3);
    EXPECT_THAT(unknown.line,
                StartsWith("KORAHA UNKNOWN - hbLatency unknown | heartbeat=U;100;;0 "));
    EXPECT_EQ(check(healthyAged("localMDResync", 9999)).code, 3);
}

TEST(Check, WarnsFromTheThresholdsOn) {
    EXPECT_EQ(check(healthyBut("hbLatency", 99.99)).code, 0);
    const Checked slow = check(healthyBut("hbLatency", 100.0));
    EXPECT_EQ(slow.code, 1);
    EXPECT_THAT(slow.line, StartsWith("KORAHA WARNING - heartbeat too slow (100.000) | "));
    EXPECT_EQ(check(healthyBut("netNonOkRate", 0.001)).code, 1);
    EXPECT_EQ(check(healthyBut("netNonOkRate", 0.0009)).code, 0);

    const Checked strict = check(healthyStatus(), R"({"THR_OF_HB_LATENCY":"0.3"})");
    EXPECT_EQ(strict.code, 1);
    EXPECT_THAT(strict.line, HasSubstr("heartbeat=0.310ms;0.3;;0"));
}

TEST(Check, SaysTheWorstFirst) {
    Json::Value status = healthyBut("hbLatency", 500.0);
    status["readings"]["localMDResync"]["valid"] = false;
    EXPECT_THAT(check(status).line,
                StartsWith("KORAHA UNKNOWN - localMDResync unknown, heartbeat too slow"));
    status["drbdConnected"] = false;
    EXPECT_THAT(check(status).line, StartsWith("KORAHA CRITICAL - DRBD not connected, localMD"));
}

TEST(Check, StaysOneShortLineWhateverTheDaemonSays) {
    Json::Value status = healthyStatus();
    for (int i = 0; i < 1000; ++i) {
        status["degradedArrays"].append(std::string(1000, '|') + "\n\x1b");
    }
    const Checked checked = check(status);
    EXPECT_EQ(checked.code, 2);
    EXPECT_LT(checked.line.size(), 2000U);
    EXPECT_THAT(checked.line, HasSubstr("more | heartbeat="));
}

TEST(Check, IsUnknownWithoutADaemonAndOnUsage) {
    const ToolRun nobody = runTool({"check", "--socket", "/nonexistent/socket"});
    EXPECT_EQ(nobody.code, 3);
    EXPECT_EQ(nobody.out,
              "KORAHA UNKNOWN - the daemon does not answer: /nonexistent/socket: No such file or "
              "directory\n");
    EXPECT_EQ(runTool({"check", "--bogus"}).code, 3);
    EXPECT_EQ(runTool({"check", "extra"}).code, 3);
    EXPECT_EQ(runTool({"check", "--help"}).code, 0);

    const StatusServer bad(StatusServer::saying(lineOf(healthyBut("remoteAlive", false))));
    EXPECT_EQ(runTool({"check", "--socket", bad.path(), "--config", "/nonexistent"}).code, 2);
}

}  // namespace
