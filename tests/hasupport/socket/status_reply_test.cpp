// SPDX-License-Identifier: Apache-2.0
#include "hasupport/socket/status_reply.h"

#include <gtest/gtest.h>
#include <json/reader.h>
#include <unistd.h>

#include <limits>
#include <memory>

#include "hasupport/status/readings.h"
#include "running_door.h"
#include "tests/support/scratch_dir.h"

namespace KORA::HA::Daemon::support {
namespace {

using koraha::test::quietSources;
using koraha::test::ScratchDir;
using namespace std::chrono_literals;

Json::Value parse(const SharedLine& line) {
    Json::CharReaderBuilder builder;
    Json::CharReaderBuilder::strictMode(&builder.settings_);
    const std::unique_ptr<Json::CharReader> reader(builder.newCharReader());
    Json::Value document;
    EXPECT_TRUE(reader->parse(line->data(), line->data() + line->size(), &document, nullptr))
        << *line;
    EXPECT_EQ(line->find('\n'), line->size() - 1);
    return document;
}

/// A reply whose time the test sets.
class StatusReplyTest : public testing::Test {
  protected:
    Json::Value ask(StatusReply& reply) { return parse(reply.line(status_, now_)); }

    Status status_;
    SteadyClock::time_point now_ = SteadyClock::now() + 1h;
};

TEST_F(StatusReplyTest, CarriesEveryValue) {
    status_.setRemoteAlive(true);
    status_.drbdConnected = true;
    status_.localDiskErrHandling = true;
    status_.hbLatency = 0.31F;
    Json::Value disks(Json::arrayValue);
    disks.append("sda");
    disks.append(9);
    disks.append("sda");
    status_.setErrHandlingDisk(disks);
    StatusReply reply(quietSources());
    const Json::Value got = ask(reply);
    EXPECT_EQ(got["version"], 1);
    EXPECT_EQ(got["remoteAlive"], true);
    EXPECT_EQ(got["drbdConnected"], true);
    EXPECT_EQ(got["remoteMDResync"], false);
    EXPECT_EQ(got["remoteDiskErrHandling"], false);
    EXPECT_EQ(got["localMDResync"], false);
    EXPECT_EQ(got["localDiskErrHandling"], true);
    EXPECT_EQ(got["netNonOkRate"], 0.0);
    EXPECT_EQ(got["hbLatency"], 0.31);
    EXPECT_EQ(got["errHandlingDisks"].size(), 2U);
    EXPECT_EQ(got["errHandlingDisksRemote"], Json::Value(Json::arrayValue));
    EXPECT_EQ(got["active"], false);
    EXPECT_EQ(got["constraints"], Json::Value(Json::arrayValue));
    EXPECT_EQ(got["degradedArrays"], Json::Value(Json::arrayValue));
    EXPECT_TRUE(got["lastRestart"].isNull());
    EXPECT_EQ(got["pid"], ::getpid());
    EXPECT_GE(got["uptimeSeconds"].asDouble(), 3600.0);
    EXPECT_EQ(got["softwareVersion"], KORAHA_VERSION);
    EXPECT_EQ(got["readings"].size(), readingCount);
    EXPECT_EQ(got["ageSeconds"].size(), readingCount);
}

TEST_F(StatusReplyTest, MakesWhatIsNoNumberNull) {
    status_.hbLatency = std::numeric_limits<float>::quiet_NaN();
    status_.netNonOkRate = std::numeric_limits<float>::infinity();
    StatusReply reply(quietSources());
    const Json::Value got = ask(reply);
    EXPECT_TRUE(got.isMember("hbLatency") && got["hbLatency"].isNull());
    EXPECT_TRUE(got.isMember("netNonOkRate") && got["netNonOkRate"].isNull());
    ask(reply);
    EXPECT_EQ(reply.changes(), 1U);  // NaN is no change from NaN
}

TEST_F(StatusReplyTest, TellsUnknownFromFalse) {
    noteGood(Reading::remoteMDResync);
    noteFailed(Reading::remoteMDResync, "peer \"silent\"");
    noteGood(Reading::remoteAlive);
    now_ = *readingState(Reading::remoteMDResync).lastAttempt + 2500ms;
    StatusReply reply(quietSources());
    const Json::Value got = ask(reply);
    const Json::Value& failed = got["readings"]["remoteMDResync"];
    EXPECT_EQ(failed["valid"], false);
    EXPECT_EQ(failed["reason"], "peer \"silent\"");
    EXPECT_EQ(failed["attemptAgeSeconds"], 2.5);
    EXPECT_GE(failed["ageSeconds"].asDouble(), 2.5);
    EXPECT_EQ(got["readings"]["remoteAlive"]["valid"], true);
    EXPECT_EQ(got["ageSeconds"]["remoteMDResync"], failed["ageSeconds"]);
}

TEST_F(StatusReplyTest, IsRenderedOncePerChangeAndSecond) {
    StatusReply reply(quietSources());
    const SharedLine first = reply.line(status_, now_);
    EXPECT_EQ(reply.line(status_, now_ + 999ms), first);
    status_.localMDResync = true;
    const SharedLine second = reply.line(status_, now_ + 999ms);
    EXPECT_NE(second, first);
    EXPECT_EQ(reply.changes(), 2U);
    EXPECT_EQ(reply.line(status_, now_ + 1500ms), second);
    EXPECT_NE(reply.line(status_, now_ + 2s), second);  // its ages have grown
    EXPECT_EQ(reply.changes(), 2U);
    noteFailed(Reading::localDiskErrHandling, "something new");
    reply.line(status_, now_ + 2s);
    EXPECT_EQ(reply.changes(), 3U);
}

TEST_F(StatusReplyTest, EvaluatesConstraintsAtMostEveryFiveSeconds) {
    StatusSources sources = quietSources();
    int evaluations = 0;
    sources.constraints = [&] {
        return std::vector<std::string>{"reason " + std::to_string(++evaluations)};
    };
    sources.degradedArrays = [] { return std::optional(std::vector<std::string>{"md4"}); };
    StatusReply reply(sources);
    const auto start = now_;
    for (; now_ < start + 5s; now_ += 100ms) {
        EXPECT_EQ(ask(reply)["constraints"][0], "reason 1");
    }
    EXPECT_EQ(ask(reply)["constraints"][0], "reason 2");
    EXPECT_EQ(ask(reply)["degradedArrays"][0], "md4");
    EXPECT_EQ(evaluations, 2);
    EXPECT_EQ(reply.changes(), 2U);
}

TEST_F(StatusReplyTest, SaysWhenNobodyKnowsTheArrays) {
    StatusSources sources = quietSources();
    sources.degradedArrays = [] { return std::optional<std::vector<std::string>>(); };
    StatusReply reply(sources);
    const Json::Value got = ask(reply);
    EXPECT_TRUE(got.isMember("degradedArrays") && got["degradedArrays"].isNull());
}

TEST_F(StatusReplyTest, TellsTheLastRestart) {
    StatusSources sources = quietSources();
    RestartRecord record;
    record.askedAt = std::chrono::system_clock::time_point(1000s);
    record.askedAgo = 7s;
    record.reason = "disks\xff";
    record.outcome = "left";
    record.leftAt = std::chrono::system_clock::time_point(1004500ms);
    sources.lastRestart = [&] { return std::optional(record); };
    StatusReply reply(sources);
    const Json::Value restart = ask(reply)["lastRestart"];
    EXPECT_EQ(restart["at"], 1000.0);
    EXPECT_EQ(restart["agoSeconds"], 7);
    EXPECT_EQ(restart["reason"], "disks\xef\xbf\xbd");
    EXPECT_EQ(restart["outcome"], "left");
    EXPECT_EQ(restart["leftAt"], 1004.5);
    EXPECT_TRUE(restart["backAt"].isNull());
    record.askedAgo = 9s;
    now_ += 1s;
    EXPECT_EQ(ask(reply)["lastRestart"]["agoSeconds"], 9);
    EXPECT_EQ(reply.changes(), 1U);  // time that goes by is no change
    record.outcome = "back";
    now_ += 1s;
    EXPECT_EQ(ask(reply)["lastRestart"]["outcome"], "back");
    EXPECT_EQ(reply.changes(), 2U);
}

TEST_F(StatusReplyTest, KnowsTheRoleByItsMarker) {
    const ScratchDir scratch;
    StatusSources sources = quietSources();
    sources.roleMarker = scratch.path("role");
    StatusReply reply(sources);
    EXPECT_EQ(ask(reply)["active"], false);
    scratch.write("role", "");
    now_ += 1s;
    EXPECT_EQ(ask(reply)["active"], true);
    EXPECT_EQ(reply.changes(), 2U);
}

}  // namespace
}  // namespace KORA::HA::Daemon::support
