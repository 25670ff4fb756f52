// SPDX-License-Identifier: Apache-2.0
#include "tools/log_filter.h"

#include <gtest/gtest.h>

namespace {

using korahamonctl::LogFilter;
using korahamonctl::LogTime;
using korahamonctl::stampOf;
using korahamonctl::timeFrom;
using korahamonctl::Topic;
using std::chrono::microseconds;
using std::chrono::seconds;

constexpr LogTime at(long long sinceEpoch, long micros = 0) {
    return LogTime(seconds(sinceEpoch)) + microseconds(micros);
}

TEST(Stamp, IsReadToTheMicrosecond) {
    EXPECT_EQ(stampOf("1970-01-02T00:00:01.000002Z text"), at(86'401, 2));
    EXPECT_EQ(stampOf("2026-11-21T07:00:00.999999Z"), at(1'795'244'400, 999'999));
}

TEST(Stamp, IsNoneInWhatIsNone) {
    for (const char* text :
         {"", "text", "2026-11-21T07:00:00Z text", "2026-11-21T07:00:00.12345aZ text",
          "2026-13-21T07:00:00.123456Z text", "2026-11-21 07:00:00.123456Z text",
          "\t2026-11-21T07:00:00.123456Z text", "2026-11-21T07:00:00.123456+ text"}) {
        EXPECT_FALSE(stampOf(text)) << text;
    }
}

TEST(Time, IsTakenAsAPersonWritesIt) {
    const LogTime now = at(1'000'000);
    EXPECT_EQ(timeFrom("1970-01-02", now), at(86'400));
    for (const char* text : {"1970-01-02 01:02", "1970-01-02T01:02", "1970-01-02 01:02:00",
                             "1970-01-02T01:02:00", "1970-01-02T01:02:00Z"}) {
        EXPECT_EQ(timeFrom(text, now), at(86'400 + 3720)) << text;
    }
    EXPECT_EQ(timeFrom("90s", now), at(1'000'000 - 90));
    EXPECT_EQ(timeFrom("15m", now), at(1'000'000 - 900));
    EXPECT_EQ(timeFrom("2h", now), at(1'000'000 - 7200));
    EXPECT_EQ(timeFrom("3d", now), at(1'000'000 - 259'200));
    EXPECT_EQ(timeFrom("0s", now), now);
}

TEST(Time, IsNoneInWhatIsNone) {
    for (const char* text : {"", "now", "s", "-5m", "5", "5w", "5.5h", "1970-01-02x", "1970-01",
                             "1970-01-02 25:00", "99999999999999999999d", "100001d", "5 m"}) {
        EXPECT_FALSE(timeFrom(text, at(1'000'000))) << text;
    }
}

const std::string slow = "2026-11-21T07:00:00.000000Z koraharemotemond:331 [Latency Fail] x: 7.0";
const std::string lowered = "2026-11-21T07:00:01.000000Z koraharemotemond:94 Delete flag: /tmp/x";

TEST(Filter, LetsAllThroughWhenNothingIsAsked) {
    LogFilter filter;
    EXPECT_TRUE(filter.passes(slow));
    EXPECT_TRUE(filter.passes("nonsense"));
}

TEST(Filter, GoesByTime) {
    LogFilter filter;
    filter.since = stampOf(lowered);
    EXPECT_FALSE(filter.passes("without a stamp"));
    EXPECT_FALSE(filter.passes(slow));
    EXPECT_FALSE(filter.passes("without a stamp"));
    EXPECT_TRUE(filter.passes(lowered));
    EXPECT_TRUE(filter.passes("without a stamp"));
}

TEST(Filter, GoesByTopic) {
    LogFilter filter;
    filter.topics = {Topic::latency};
    EXPECT_TRUE(filter.passes(slow));
    EXPECT_FALSE(filter.passes(lowered));
    filter.topics.push_back(Topic::flag);
    EXPECT_TRUE(filter.passes(lowered));
    EXPECT_FALSE(filter.passes("libkorahadaemon 7 lines were dropped"));
    filter.topics = {Topic::trouble};
    EXPECT_TRUE(filter.passes("libkorahadaemon 7 lines were dropped"));
    // What comes in a later line of a record is no message of its own.
    EXPECT_FALSE(filter.passes(lowered + "\n\tkoraharemotemond:566 Failed to do x"));
}

TEST(Filter, GoesByText) {
    LogFilter filter;
    filter.contains = "Delete";
    EXPECT_FALSE(filter.passes(slow));
    EXPECT_TRUE(filter.passes(lowered));
    filter.topics = {Topic::latency};
    EXPECT_FALSE(filter.passes(lowered));  // both are asked for
}

}  // namespace
