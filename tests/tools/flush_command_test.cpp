// SPDX-License-Identifier: Apache-2.0
#include "tools/flush_command.h"

#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <optional>
#include <sstream>

#include "hasupport/logfile/pending_lines.h"
#include "tests/support/scratch_dir.h"

namespace {

using KORA::HA::Daemon::support::bufferName;
using KORA::HA::Daemon::support::BufferTrouble;
using KORA::HA::Daemon::support::LineBuffer;
using KORA::HA::Daemon::support::PendingLines;

struct FlushCommand : ::testing::Test {
    koraha::test::ScratchDir scratch;
    korahamonctl::FlushOptions options{scratch.path("run"), scratch.path("log")};
    std::ostringstream out;
    std::ostringstream err;

    int flush() {
        out.str("");
        err.str("");
        return flushLogs(options, out, err);
    }
    /// A daemon's lines, for as long as it lives.
    std::optional<PendingLines> log(const std::string& line) const {
        BufferTrouble trouble;
        auto buffer = LineBuffer::at({options.bufferDirectory, true},
                                     bufferName(options.logDirectory + "/ha.daemon.log"), trouble);
        EXPECT_TRUE(buffer) << trouble.text;
        std::optional<PendingLines> lines;
        if (buffer) {
            lines.emplace(std::move(*buffer)).append(line);
        }
        return lines;
    }
    std::string path(const std::string& name) const { return options.logDirectory + name; }
};

TEST_F(FlushCommand, FindsNothingWhereNothingWasLeftAndMakesNothing) {
    EXPECT_EQ(flush(), 0);
    EXPECT_EQ(out.str(), path("/ha.daemon.log") + ": nothing was left\n" +
                             path("/ha.daemon.record") + ": nothing was left\n");
    EXPECT_EQ(err.str(), "");
    EXPECT_NE(::access(options.bufferDirectory.c_str(), F_OK), 0);
    EXPECT_NE(::access(options.logDirectory.c_str(), F_OK), 0);
}

TEST_F(FlushCommand, WritesWhatWasLeftOnce) {
    scratch.write("log/ha.daemon.log", "before\n");
    (void)log("left behind\n");
    EXPECT_EQ(flush(), 0);
    EXPECT_EQ(out.str(), path("/ha.daemon.log") + ": what was left is written\n" +
                             path("/ha.daemon.record") + ": nothing was left\n");
    EXPECT_EQ(scratch.read("log/ha.daemon.log"), "before\nleft behind\n");
    EXPECT_EQ(flush(), 0);
    EXPECT_EQ(scratch.read("log/ha.daemon.log"), "before\nleft behind\n");
}

TEST_F(FlushCommand, LeavesTheLinesOfARunningDaemonToIt) {
    auto running = log("of the running one\n");
    EXPECT_EQ(flush(), 1);
    EXPECT_EQ(err.str(),
              path("/ha.daemon.log") + ": a daemon runs, which writes its lines itself\n");
    EXPECT_NE(::access(path("/ha.daemon.log").c_str(), F_OK), 0);
    running.reset();
    EXPECT_EQ(flush(), 0);
    EXPECT_EQ(scratch.read("log/ha.daemon.log"), "of the running one\n");
}

TEST_F(FlushCommand, SaysWhyItCannotWriteAndKeepsTheLines) {
    (void)log("left behind\n");
    scratch.write("log", "a file where the directory belongs");
    EXPECT_EQ(flush(), 1);
    EXPECT_EQ(err.str(), path("/ha.daemon.log") + ": Not a directory\n");
    ASSERT_EQ(::unlink(options.logDirectory.c_str()), 0);
    EXPECT_EQ(flush(), 0);
    EXPECT_EQ(scratch.read("log/ha.daemon.log"), "left behind\n");
}

TEST_F(FlushCommand, SaysWhyABufferIsRefused) {
    ASSERT_EQ(::mkdir(options.bufferDirectory.c_str(), 0700), 0);
    ASSERT_EQ(::chmod(options.bufferDirectory.c_str(), 0777), 0);
    EXPECT_EQ(flush(), 1);
    EXPECT_NE(err.str().find("others can write to the directory"), std::string::npos);
}

}  // namespace
