// SPDX-License-Identifier: Apache-2.0
#include "tools/visible.h"

#include <gtest/gtest.h>
#include <json/reader.h>
#include <json/value.h>

#include <memory>

namespace {

using korahamonctl::visible;
using korahamonctl::visibleJson;

TEST(Visible, LeavesOrdinaryTextAlone) {
    EXPECT_EQ(visible("sda, \xc3\xa4rger \xe2\x82\xac \xf0\x9f\x92\xbe \\ \"x\""),
              "sda, \xc3\xa4rger \xe2\x82\xac \xf0\x9f\x92\xbe \\ \"x\"");
    EXPECT_EQ(visible(""), "");
}

TEST(Visible, ShowsControlCharactersByTheirCode) {
    EXPECT_EQ(visible("a\x1b[2Jb\r\n\t\x7f"), "a\\x1b[2Jb\\x0d\\x0a\\x09\\x7f");
    EXPECT_EQ(visible(std::string("a\0b", 3)), "a\\x00b");
    EXPECT_EQ(visible("\xc2\x9b"
                      "31m"),
              "\\x9b31m");  // the one-character form of ESC [
    EXPECT_EQ(visible("\xc2\xa0"), "\xc2\xa0");
}

TEST(Visible, ShowsWhatTurnsTheWritingDirection) {
    EXPECT_EQ(visible("sd\xe2\x80\xae"
                      "a"),
              "sd\\u202ea");
    EXPECT_EQ(visible("\xe2\x81\xa6\xe2\x80\x8f\xd8\x9c"), "\\u2066\\u200f\\u061c");
}

TEST(Visible, ShowsWhatIsNoUtf8) {
    EXPECT_EQ(visible("a\xff"
                      "b\xc3"),
              "a\\xffb\\xc3");
    EXPECT_EQ(visible("\xc0\x9b"), "\\xc0\\x9b");           // overlong
    EXPECT_EQ(visible("\xed\xa0\x80"), "\\xed\\xa0\\x80");  // a surrogate
}

TEST(Visible, CutsWhatIsTooLong) {
    EXPECT_EQ(visible("abcdef", 6), "abcdef");
    EXPECT_EQ(visible("abcdefg", 6), "abcdef...");
    EXPECT_EQ(visible("\xe2\x82\xac\xe2\x82\xac", 1), "\xe2\x82\xac...");
    EXPECT_LT(visible(std::string(1U << 20U, '\x01'), 300).size(), 310U);
}

TEST(VisibleJson, StaysTheSameJson) {
    const std::string line = "{\"a\":\"x\xc2\x9b\xe2\x80\xae\x7fy\"}";
    const std::string shown = visibleJson(line);
    EXPECT_EQ(shown, R"({"a":"x\u009b\u202e\u007fy"})");
    const std::unique_ptr<Json::CharReader> reader(Json::CharReaderBuilder().newCharReader());
    Json::Value before;
    Json::Value after;
    ASSERT_TRUE(reader->parse(line.data(), line.data() + line.size(), &before, nullptr));
    ASSERT_TRUE(reader->parse(shown.data(), shown.data() + shown.size(), &after, nullptr));
    EXPECT_EQ(before, after);
}

}  // namespace
