// SPDX-License-Identifier: Apache-2.0
#include "tools/tune_command.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <array>
#include <cstdio>
#include <sstream>

#include "tests/support/scratch_dir.h"
#include "tests/tools/run_tool.h"
#include "tests/tools/status_server.h"

namespace {

using namespace koraha::test;  // NOLINT(google-build-using-namespace)
using ::testing::AllOf;
using ::testing::ContainsRegex;
using ::testing::HasSubstr;
using ::testing::Not;

// A sample every 15 s from 10:00:00 on: calm, then so many over 100 ms, then calm.
std::string recordOf(std::initializer_list<int> slow) {
    std::string text;
    int sequence = 0;
    const auto add = [&](double value) {
        const int second = sequence * 15;
        std::array<char, 32> time{};
        std::snprintf(time.data(), time.size(), "2026-11-21T%02d:%02d:%02d.000", 10 + second / 3600,
                      second / 60 % 60, second % 60);
        std::array<char, 200> line{};
        std::snprintf(line.data(), line.size(),
                      "%s000Z record=sample time=%sZ sequence=%d kind=hbLatency value=%.6f sent=5 "
                      "answered=5\n",
                      time.data(), time.data(), ++sequence, value);
        text += line.data();
    };
    for (const int count : slow) {
        for (int i = 0; i < 20; ++i) {
            add(0.3 + 0.001 * i);
        }
        for (int i = 0; i < count; ++i) {
            add(150 + i);
        }
    }
    for (int i = 0; i < 20; ++i) {
        add(0.3 + 0.001 * i);
    }
    return text;
}

ToolRun tuned(const std::string& record, std::vector<std::string> more = {}) {
    const ScratchDir scratch;
    std::vector<std::string> words = {"tune", "--config", "/nonexistent", "--file",
                                      scratch.write("record", record)};
    words.insert(words.end(), more.begin(), more.end());
    return runTool(words);
}

TEST(Tune, TellsWhatIsCertainAndWhatDepends) {
    const ToolRun run = tuned(recordOf({30, 18, 5}), {"--role", "passive"});
    EXPECT_EQ(run.code, 0) << run.err;
    EXPECT_THAT(run.out, HasSubstr("latency: 133 samples of 1 run of the daemon, "
                                   "2026-11-21 10:00:00 to 2026-11-21 10:33:00 UTC\n"));
    EXPECT_THAT(run.out,
                HasSubstr("  threshold 100 ms, tolerance 3, a judgement every 75 to 75.5 s\n"));
    EXPECT_THAT(run.out,
                ContainsRegex("  CERTAIN 2026-11-21 10:05:00 to [^\n]*: 30 samples over, "
                              "the worst 179 ms; 1 notification, the first from 10:08:45"));
    EXPECT_THAT(run.out, ContainsRegex("  DEPENDS 2026-11-21 10:17:30 to [^\n]*: 18 samples over, "
                                       "the worst 167 ms; 0 to 1 notification, "));
    EXPECT_THAT(run.out, HasSubstr("  1 episode notified in any case, 1 depending on the phase, "
                                   "1 tolerated in any case\n"));
    EXPECT_THAT(run.out, HasSubstr("failed packets: no samples\n"));
}

TEST(Tune, TriesOtherSettings) {
    const std::string record = recordOf({30, 18, 5});
    EXPECT_THAT(tuned(record, {"--latency-threshold", "200"}).out,
                HasSubstr("  0 episodes notified in any case, 0 depending"));
    EXPECT_THAT(tuned(record, {"--latency-tolerance", "0", "--latency-rest", "0"}).out,
                AllOf(HasSubstr("a judgement every 15 to 20.1 s"),
                      HasSubstr("  3 episodes notified in any case, 0 depending")));
    EXPECT_THAT(tuned(record, {"--role", "active"}).out, HasSubstr("every 100 to 100.5 s"));
    EXPECT_THAT(tuned(record, {"--since", "2026-11-21 10:15"}).out,
                Not(HasSubstr("2026-11-21 10:05:00")));
    EXPECT_THAT(tuned(record, {"--latency-rest", "-1"}).out, HasSubstr("practically never judged"));
    EXPECT_THAT(tuned(record, {"--latency-rest", "2147483647"}).out,
                HasSubstr("  0 episodes notified in any case, 0 depending"));
}

TEST(Tune, TakesTheRestFromTheConfiguration) {
    const ScratchDir scratch;
    const ToolRun run = runTool(
        {"tune", "--file", scratch.write("record", recordOf({5})), "--config",
         scratch.write("conf", R"({"THR_OF_HB_LATENCY": 120, "NUM_OF_REST_MON_HB_LATENCY": 0,
             "BASE_INTERVAL_ACTIVE": 10, "BASE_INTERVAL_PASSIVE": "10",
             "TOLERANCE_TIMES_OF_HB_LATENCY": 4})")});
    EXPECT_THAT(run.out,
                HasSubstr("threshold 120 ms, tolerance 4, a judgement every 10 to 10.1 s"));
    EXPECT_THAT(run.out, HasSubstr("1 episode notified in any case"));
}

TEST(Tune, AsksTheDaemonForWhatIsNotRecordedYet) {
    const StatusServer server(StatusServer::saying(
        R"({"version":1,"samples":[{"at":1795255200.0,"kind":"netNonOkRate","value":0.5}],"events":[]})"));
    korahamonctl::StatusOptions status;
    status.socketPath = server.path();
    status.configuration = "/nonexistent";
    korahamonctl::TuneOptions options;
    options.path = "/nonexistent/record";
    std::ostringstream out;
    EXPECT_EQ(tuneSettings(status, options, out, out), 0);
    EXPECT_THAT(out.str(), HasSubstr("failed packets: 1 sample of 1 run"));
    EXPECT_THAT(out.str(), HasSubstr("threshold 0.001, tolerance 3"));
}

TEST(Tune, SaysWhatIsMissing) {
    std::string record = recordOf({});
    record.erase(record.find('\n') + 1,
                 record.find('\n', record.find('\n') + 1) - record.find('\n'));
    EXPECT_THAT(tuned(record).out, HasSubstr("\n1 sample was measured but not recorded"));
    const ToolRun nothing = tuned("");
    EXPECT_EQ(nothing.code, 1);
    EXPECT_EQ(nothing.err, "korahamonctl: no samples are recorded\n");
    const ToolRun absent = runTool({"tune", "--file", "/nonexistent/record"});
    EXPECT_EQ(absent.code, 1);
    EXPECT_THAT(absent.err, HasSubstr("/nonexistent/record: No such file"));
    EXPECT_EQ(tuned(record, {"--since", "soon"}).code, 2);
    EXPECT_EQ(tuned(record, {"--role", "none"}).code, 2);
    EXPECT_EQ(tuned(record, {"--latency-threshold", "many"}).code, 2);
    EXPECT_EQ(tuned(record, {"--packets-threshold", "nan"}).code, 2);
}

}  // namespace
