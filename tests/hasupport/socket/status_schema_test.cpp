// SPDX-License-Identifier: Apache-2.0
#include <gtest/gtest.h>
#include <json/reader.h>

#include <fstream>
#include <memory>
#include <set>
#include <string>

#include "hasupport/socket/history_reply.h"
#include "hasupport/socket/status_reply.h"
#include "hasupport/status/history.h"
#include "running_door.h"
#include "tests/support/test_data.h"

// Keeps the documented schema and the replies together: every member that a reply has is described,
// and every member that the schema demands is there.

namespace KORA::HA::Daemon::support {
namespace {

Json::Value readSchema() {
    std::ifstream file(koraha::test::testData("status.schema.json"));
    Json::Value schema;
    EXPECT_TRUE(file.is_open());
    file >> schema;
    return schema;
}

std::set<std::string> membersOf(const Json::Value& object) {
    const auto names = object.getMemberNames();
    return {names.begin(), names.end()};
}

void expectDescribed(const Json::Value& value, const Json::Value& definition,
                     const std::set<std::string>& optional = {}) {
    std::set<std::string> demanded;
    for (const Json::Value& name : definition["required"]) {
        demanded.insert(name.asString());
    }
    std::set<std::string> described = demanded;
    described.insert(optional.begin(), optional.end());
    EXPECT_EQ(membersOf(definition["properties"]), described);
    EXPECT_EQ(membersOf(value), membersOf(definition["properties"]));
}

Json::Value parse(const std::string& text) {
    const std::unique_ptr<Json::CharReader> reader(Json::CharReaderBuilder().newCharReader());
    Json::Value document;
    EXPECT_TRUE(reader->parse(text.data(), text.data() + text.size(), &document, nullptr));
    return document;
}

TEST(StatusSchema, DescribesTheStatusReply) {
    const Json::Value known = readSchema()["$defs"];
    StatusSources sources = koraha::test::quietSources();
    sources.lastRestart = [] { return std::optional<RestartRecord>(std::in_place); };
    const Status status;
    const Json::Value got = parse(*StatusReply(sources).line(status, SteadyClock::now()));
    expectDescribed(got, known["status"]);
    expectDescribed(got["ageSeconds"], known["ages"]);
    expectDescribed(got["readings"], known["readings"]);
    expectDescribed(got["readings"]["hbLatency"], known["reading"]);
    expectDescribed(got["lastRestart"], known["restart"]);
}

TEST(StatusSchema, DescribesTheHistoryReply) {
    const Json::Value known = readSchema()["$defs"];
    noteSample(SampleKind::hbLatency, 1.0F, 5, 5);
    noteEvent("something happened");
    HistoryReply reply;
    std::string text;
    for (std::string piece = reply.next(); !piece.empty(); piece = reply.next()) {
        text += piece;
    }
    const Json::Value got = parse(text);
    expectDescribed(got, known["history"]);
    const Json::Value& samples = got["samples"];
    expectDescribed(samples[samples.size() - 1], known["sample"], {"sent", "answered"});
    expectDescribed(got["events"][0], known["event"]);
}

}  // namespace
}  // namespace KORA::HA::Daemon::support
