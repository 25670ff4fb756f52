// SPDX-License-Identifier: Apache-2.0
#include "tools/log_command.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdio>
#include <fstream>
#include <sstream>

#include "run_tool.h"
#include "tests/support/scratch_dir.h"

namespace {

using koraha::test::runTool;
using koraha::test::ScratchDir;
using koraha::test::ToolRun;
using korahamonctl::LogOptions;
using ::testing::HasSubstr;

const std::string start =
    "2026-11-21T07:00:00.000000Z int_daemon_conf:91 Daemon configure file not exist\n";
const std::string slow =
    "2026-11-21T07:00:01.000000Z koraharemotemond:331 [Latency Fail] Heartbeat too slow: 7.0\n";
const std::string fast =
    "2026-11-21T07:00:02.000000Z koraharemotemond:323 Heartbeat latency returns to normal\n";

struct Log : ::testing::Test {
    ScratchDir scratch;
    const std::string path = scratch.path("log");

    void append(const std::string& text) const {
        std::ofstream(path, std::ios::app) << text << std::flush;
    }
    std::string shown(LogOptions options) const {
        options.path = path;
        std::ostringstream out;
        std::ostringstream err;
        EXPECT_EQ(korahamonctl::showLog(options, out, err), 0) << err.str();
        return out.str();
    }
};

TEST_F(Log, IsShownWithWhatWasRotatedAway) {
    scratch.write("log.1", start);
    append(slow + fast);
    EXPECT_EQ(shown({}), start + slow + fast);
    LogOptions two;
    two.last = 2;
    EXPECT_EQ(shown(two), slow + fast);
    two.last = 100;
    EXPECT_EQ(shown(two), start + slow + fast);
}

TEST_F(Log, IsFilteredBeforeTheLatestAreCounted) {
    append(start + slow + fast);
    LogOptions options;
    options.last = 1;
    options.filter.topics = {korahamonctl::Topic::start};
    EXPECT_EQ(shown(options), start);
}

TEST_F(Log, ShowsRecordsOfSeveralLinesAndHalfALineAtTheEnd) {
    append(start + "\tsecond\n" + "half a li");
    EXPECT_EQ(shown({}), start + "\tsecond\nhalf a li\n");
}

TEST_F(Log, ShowsHostileBytesSafely) {
    append("\x1b[2J\ta\r\n\t\x9b\xff\n");
    EXPECT_EQ(shown({}), "\\x1b[2J\\x09a\\x0d\n\t\\x9b\\xff\n");
}

TEST_F(Log, GoesOnWithWhatComesAcrossARotation) {
    append(start);
    int look = 0;
    LogOptions options;
    options.follow = true;
    options.goOn = [&] {
        switch (look++) {
            case 0:
                append(slow + "\tmore\nhalf ");
                return true;
            case 1:
                append("a line\n");
                return std::rename(path.c_str(), (path + ".1").c_str()) == 0;
            case 2:
                append(fast);
                return true;
            default:
                return false;
        }
    };
    EXPECT_EQ(shown(options), start + slow + "\tmore\nhalf a line\n" + fast);
}

TEST_F(Log, EndsWithOneWithoutAnyFile) {
    LogOptions options;
    options.path = scratch.path("absent/log");
    std::ostringstream out;
    std::ostringstream err;
    EXPECT_EQ(korahamonctl::showLog(options, out, err), 1);
    EXPECT_THAT(err.str(), HasSubstr("absent/log: No such file or directory"));
}

TEST_F(Log, IsAskedForOnTheCommandLine) {
    append(start + slow + fast);
    EXPECT_EQ(runTool({"log", "--file", path}).out, start + slow + fast);
    EXPECT_EQ(runTool({"log", "--file", path, "-n", "1"}).out, fast);
    EXPECT_EQ(runTool({"log", "--file", path, "--topic", "latency", "--topic", "flag"}).out,
              slow + fast);
    EXPECT_EQ(runTool({"log", "--file", path, "--grep", "configure"}).out, start);
    EXPECT_EQ(runTool({"log", "--file", path, "--since", "2026-11-21 07:00:02"}).out, fast);
    EXPECT_EQ(runTool({"log", "--file", path, "--since", "2026-11-22"}).out, "");
    EXPECT_EQ(runTool({"log", "--file", scratch.path("absent")}).code, 1);
    for (const std::vector<std::string>& arguments :
         std::vector<std::vector<std::string>>{{"log", "--since", "yesterday"},
                                               {"log", "--topic", "weather"},
                                               {"log", "--lines", "-1"},
                                               {"log", "--record", "--file", path}}) {
        const ToolRun run = runTool(arguments);
        EXPECT_EQ(run.code, 2) << arguments[1];
        EXPECT_NE(run.err, "");
    }
}

TEST_F(Log, ShowsFiftyUnlessToldOtherwise) {
    std::string many;
    for (int i = 0; i < 60; ++i) {
        many += start;
    }
    append(many);
    EXPECT_EQ(runTool({"log", "--file", path}).out.size(), 50 * start.size());
    EXPECT_EQ(runTool({"log", "--file", path, "-n", "0"}).out, many);
    EXPECT_EQ(runTool({"log", "--file", path, "--since", "2026-11-21"}).out, many);
}

}  // namespace
