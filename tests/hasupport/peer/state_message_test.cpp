// SPDX-License-Identifier: Apache-2.0
#include "hasupport/peer/state_message.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <limits>
#include <string>
#include <vector>

#include "hasupport/peer/frame.h"
#include "tests/support/small_stack.h"

namespace KORA::HA::Daemon::support {
namespace {

constexpr const char* least = R"("mdResync":false,"diskErrHandling":true)";

std::optional<PeerState> decode(const std::string& text) {
    std::optional<PeerState> state;
    std::string problem;
    koraha::test::onSmallStack([&] { state = decodeState(text, problem); });
    return state;
}

std::string problemWith(const std::string& text) {
    std::string problem;
    EXPECT_FALSE(decodeState(text, problem)) << text.substr(0, 200);
    return problem;
}

std::string with(const std::string& members) {
    return "{" + std::string(least) + "," + members + "}";
}

std::string diskList(const std::vector<std::string>& jsonTexts) {
    std::string list;
    for (const std::string& each : jsonTexts) {
        list += (list.empty() ? "" : ",") + each;
    }
    return with("\"disks\":[" + list + "]");
}

TEST(StateMessage, ComesBackAsItWentOut) {
    PeerState state;
    state.mdResync = true;
    state.mdResyncUnknown = "no /proc/mdstat";
    state.diskErrHandling = true;
    state.diskErrHandlingUnknown = "no /sys";
    state.disks = {"sda", "nvme0n1", "sda"};
    state.software = "1.0.0";
    state.bootId = "0b2f";
    state.wallSeconds = std::numeric_limits<std::int64_t>::max();
    const auto got = decode(encodeState(state));
    ASSERT_TRUE(got);
    EXPECT_TRUE(got->mdResync);
    EXPECT_EQ(got->mdResyncUnknown, state.mdResyncUnknown);
    EXPECT_TRUE(got->diskErrHandling);
    EXPECT_EQ(got->diskErrHandlingUnknown, state.diskErrHandlingUnknown);
    EXPECT_EQ(got->disks, state.disks);
    EXPECT_EQ(got->software, state.software);
    EXPECT_EQ(got->bootId, state.bootId);
    EXPECT_EQ(got->wallSeconds, state.wallSeconds);
}

TEST(StateMessage, FitsAFrameAtItsLargest) {
    PeerState state;
    state.disks.assign(10'000, std::string(diskNameLimit, '"'));
    EXPECT_LE(encodeState(state).size(), frameBodyLimit - authenticatorBytes);
    EXPECT_EQ(decode(encodeState(state))->disks.size(), diskCountLimit);
}

TEST(StateMessage, NeedsItsTwoFlags) {
    EXPECT_TRUE(decode("{" + std::string(least) + "}"));
    for (const char* text : {"{}", R"({"mdResync":true})", R"({"diskErrHandling":true})",
                             R"({"mdResync":1,"diskErrHandling":true})",
                             R"({"mdResync":"true","diskErrHandling":true})",
                             R"({"mdResync":true,"diskErrHandling":null})",
                             R"({"mdResync":[true],"diskErrHandling":{}})", "[]", "[true,false]",
                             "true", "0", "\"text\"", "null"}) {
        EXPECT_EQ(problemWith(text), "the peer's answer lacks what it must hold");
    }
}

TEST(StateMessage, ThatIsNoJsonIsRefused) {
    for (const char* text : {"", " ", "{", "}", "{\"a\"", "{\"a\":}", "nonsense", "\xff\xfe",
                             "{\"mdResync\":tru", "'", "\"", "/*", "//", "{/", "[1,", "[1 2]"}) {
        EXPECT_EQ(problemWith(text), "the peer's answer is no JSON") << text;
    }
    EXPECT_EQ(problemWith(std::string("\0\0\0", 3)), "the peer's answer is no JSON");
}

TEST(StateMessage, WithWrongTypesElsewhereLosesOnlyThose) {
    const auto got = decode(with(R"("disks":"sda","software":7,"bootId":{"a":[]},"time":"now",)"
                                 R"("mdResyncUnknown":false,"diskErrHandlingUnknown":[1,2])"));
    ASSERT_TRUE(got);
    EXPECT_TRUE(got->diskErrHandling);
    EXPECT_EQ(got->disks, std::vector<std::string>{});
    EXPECT_EQ(got->software, "");
    EXPECT_EQ(got->bootId, "");
    EXPECT_EQ(got->wallSeconds, 0);
    EXPECT_EQ(got->mdResyncUnknown, "");
    EXPECT_EQ(got->diskErrHandlingUnknown, "");
}

TEST(StateMessage, KeepsOnlyStringsThatAreDiskNames) {
    const std::string longest(diskNameLimit, 'x');
    const auto got =
        decode(diskList({"\"sda\"", "7", "null", "true", "{}", "[\"sdb\"]", "\"\"", "\"a b\"",
                         "\"a\\nb\"", "\"\\u0000\"", "\"\\u001b[2J\"", "\"\xc3\xa4\"",
                         "\"" + longest + "\"", "\"" + longest + "x\"", "\"nvme0n1\""}));
    ASSERT_TRUE(got);
    EXPECT_EQ(got->disks, (std::vector<std::string>{"sda", longest, "nvme0n1"}));
}

TEST(StateMessage, KeepsABoundedNumberOfDisks) {
    const auto got = decode(diskList(std::vector<std::string>(5000, "\"sda\"")));
    ASSERT_TRUE(got);
    EXPECT_EQ(got->disks.size(), diskCountLimit);
}

TEST(StateMessage, BoundsAndCleansTexts) {
    const auto got = decode(with(R"("software":"a\nb\u001b\u0007)" + std::string(50'000, 'x') +
                                 "\",\"mdResyncUnknown\":\"" + std::string(500, 'y') + "\""));
    ASSERT_TRUE(got);
    EXPECT_EQ(got->software, "a?b??" + std::string(195, 'x'));
    EXPECT_EQ(got->mdResyncUnknown, std::string(200, 'y'));
}

TEST(StateMessage, WithHugeNumbersLosesOnlyThose) {
    for (const char* number : {"1e400", "-1e400", "9223372036854775808", "1e19", "0.5",
                               "123456789012345678901234567890", "-99999999999999999999"}) {
        std::string problem;
        const auto got = decodeState(with(std::string("\"time\":") + number), problem);
        // The parser may refuse a number as a whole; what it takes must not be cut or wrapped.
        if (got) {
            EXPECT_EQ(got->wallSeconds, 0) << number;
        } else {
            EXPECT_EQ(problem, "the peer's answer is no JSON") << number;
        }
    }
    EXPECT_EQ(
        decode(with("\"time\":" + std::string(60'000, '9'))).value_or(PeerState()).wallSeconds, 0);
}

TEST(StateMessage, NestedDeepNeverReachesTheParser) {
    for (const char opening : {'[', '{'}) {
        std::string deep;
        for (int level = 0; level < 100'000; ++level) {
            deep += opening == '[' ? "[" : "{\"a\":";
        }
        std::string problem;
        koraha::test::onSmallStack([&] { EXPECT_FALSE(decodeState(deep, problem)); });
        EXPECT_EQ(problem, "the peer's answer is nested too deep");
    }
    // Within the size of a frame too.
    EXPECT_EQ(problemWith(with("\"disks\":" + std::string(30'000, '[') + std::string(30'000, ']'))),
              "the peer's answer is nested too deep");
    EXPECT_TRUE(decode(with("\"x\":" + std::string(15, '[') + std::string(15, ']'))));
    EXPECT_FALSE(problemWith(with("\"x\":" + std::string(16, '[') + std::string(16, ']'))).empty());
}

TEST(StateMessage, TruncatedAnywhereIsRefused) {
    PeerState state;
    state.disks = {"sda"};
    const std::string whole = encodeState(state);
    for (std::size_t length = 0; length < whole.size(); ++length) {
        problemWith(whole.substr(0, length));
    }
}

}  // namespace
}  // namespace KORA::HA::Daemon::support
