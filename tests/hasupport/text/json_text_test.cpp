// SPDX-License-Identifier: Apache-2.0
#include "hasupport/text/json_text.h"

#include <gtest/gtest.h>

#include <limits>

#include "hasupport/text/utf8.h"

namespace KORA::HA::Daemon::support {
namespace {

TEST(JsonText, PutsCommasWhereTheyBelong) {
    JsonText json;
    json.openObject().key("a").integer(-1).key("b").openArray().null().flag(true);
    json.openObject().closeObject().openArray().closeArray().closeArray();
    json.key("c").text("").closeObject();
    EXPECT_EQ(json.take(), R"({"a":-1,"b":[null,true,{},[]],"c":""})");
}

TEST(JsonText, GoesOnWhereItWasTaken) {
    JsonText json;
    json.openArray().integer(1);
    EXPECT_EQ(json.take(), "[1");
    json.integer(2).closeArray();
    EXPECT_EQ(json.take(), ",2]");
}

TEST(JsonText, EscapesText) {
    JsonText json;
    json.text("\"\\\n\x01\x7f/");
    EXPECT_EQ(json.take(), R"("\"\\\u000a\u0001\u007f/")");
}

TEST(JsonText, KeepsUtf8AndReplacesTheRest) {
    JsonText json;
    json.text("\xc3\xa4\xe2\x82\xac\xf0\x9f\x98\x80 \xff\xc3 \xc0\x80 \xed\xa0\x80 \xe2\x82");
    const std::string r = "\xef\xbf\xbd";
    EXPECT_EQ(json.take(), "\"\xc3\xa4\xe2\x82\xac\xf0\x9f\x98\x80 " + r + r + " " + r + r + " " +
                               r + r + r + " " + r + r + "\"");
}

TEST(JsonText, WritesNumbers) {
    JsonText json;
    json.openArray().real(0.31F).real(0.0F).real(100.0F).real(1e20F).seconds(1.23456);
    json.seconds(-0.5).real(std::numeric_limits<float>::quiet_NaN());
    json.seconds(std::numeric_limits<double>::infinity()).closeArray();
    EXPECT_EQ(json.take(), "[0.31,0.0,100.0,1e+20,1.235,-0.500,null,null]");
}

TEST(Utf8, TakesWellFormedCharactersOnly) {
    EXPECT_EQ(utf8Length(""), 0U);
    EXPECT_EQ(utf8Length(std::string_view("\0", 1)), 1U);
    EXPECT_EQ(utf8Length("\xc2\x80"), 2U);
    EXPECT_EQ(utf8Length("\xc1\xbf"), 0U);
    EXPECT_EQ(utf8Length("\xe0\x9f\xbf"), 0U);
    EXPECT_EQ(utf8Length("\xf4\x8f\xbf\xbf"), 4U);
    EXPECT_EQ(utf8Length("\xf4\x90\x80\x80"), 0U);
    EXPECT_EQ(utf8Length("\x80"), 0U);
    EXPECT_EQ(utf8Length("\xf8\x88\x80\x80\x80"), 0U);
}

}  // namespace
}  // namespace KORA::HA::Daemon::support
