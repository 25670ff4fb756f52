// SPDX-License-Identifier: Apache-2.0
#include "hasupport/record/record_line.h"

#include <gtest/gtest.h>

#include <limits>
#include <string>

namespace {

using KORA::HA::Daemon::support::RecordLine;

std::string asText(const std::string& value) {
    return RecordLine("x").text("k", value).str();
}

TEST(RecordLine, IsKeysAndValues) {
    RecordLine line("sample");
    line.number("n", 18446744073709551615ULL).real("r", 0.5).flag("a", true).flag("b", false);
    line.text("t", "plain/text,1");
    EXPECT_EQ(line.str(),
              "record=sample n=18446744073709551615 r=0.500000 a=true b=false t=plain/text,1");
}

TEST(RecordLine, AValueCannotForgeAnotherKey) {
    EXPECT_EQ(asText("a b=c"), "record=x k=a\\x20b\\x3dc");
    EXPECT_EQ(asText("a\nrecord=y"), "record=x k=a\\x0arecord\\x3dy");
    EXPECT_EQ(asText("\\x20\"\x7f\t"), "record=x k=\\x5cx20\\x22\\x7f\\x09");
    EXPECT_EQ(asText(std::string("\0", 1)), "record=x k=\\x00");
    EXPECT_EQ(asText("gr\xc3\xbc"), "record=x k=gr\xc3\xbc");
    EXPECT_EQ(asText(""), "record=x k=");
}

TEST(RecordLine, AValueIsBounded) {
    EXPECT_EQ(asText(std::string(100000, 'a')).size(), std::string("record=x k=").size() + 256);
}

TEST(RecordLine, ARealMayBeNone) {
    EXPECT_EQ(RecordLine("x").real("k", std::numeric_limits<double>::infinity()).str(),
              "record=x k=inf");
    EXPECT_EQ(RecordLine("x").real("k", std::numeric_limits<double>::quiet_NaN()).str(),
              "record=x k=nan");
    EXPECT_EQ(RecordLine("x").real("k", std::numeric_limits<float>::max()).str(),
              "record=x k=340282346638528859811704183484516925440.000000");
}

TEST(RecordLine, ATimeIsUtcWithMilliseconds) {
    using namespace std::chrono;
    const system_clock::time_point time{1700000000123ms};
    EXPECT_EQ(RecordLine("x").time("k", time).str(), "record=x k=2023-11-14T22:13:20.123Z");
    EXPECT_EQ(RecordLine("x").time("k", system_clock::time_point{-1ms}).str(),
              "record=x k=1969-12-31T23:59:59.999Z");
}

}  // namespace
