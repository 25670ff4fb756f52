// SPDX-License-Identifier: Apache-2.0
#include "hasupport/text/json_guard.h"

#include <gtest/gtest.h>
#include <json/reader.h>

#include <memory>
#include <random>
#include <string>

namespace KORA::HA::Daemon::support {
namespace {

constexpr std::size_t anySize = 100'000;

std::string nested(unsigned depth) {
    return std::string(depth, '[') + std::string(depth, ']');
}

TEST(JsonGuard, CountsLevels) {
    EXPECT_TRUE(jsonIsBounded("", anySize, 0));
    EXPECT_TRUE(jsonIsBounded("7", anySize, 0));
    EXPECT_FALSE(jsonIsBounded("[]", anySize, 0));
    EXPECT_TRUE(jsonIsBounded(nested(16), anySize, 16));
    EXPECT_FALSE(jsonIsBounded(nested(17), anySize, 16));
    EXPECT_FALSE(jsonIsBounded(R"({"a":{"b":[{}]}})", anySize, 3));
    EXPECT_TRUE(jsonIsBounded(R"({"a":{"b":[{}]}})", anySize, 4));
    EXPECT_TRUE(jsonIsBounded("[[],[],[[]]]", anySize, 3));
}

TEST(JsonGuard, CountsBytes) {
    EXPECT_TRUE(jsonIsBounded("1234", 4, 1));
    EXPECT_FALSE(jsonIsBounded("12345", 4, 1));
}

TEST(JsonGuard, SkipsStringsAndComments) {
    EXPECT_TRUE(jsonIsBounded(R"(["[[[[", "\"[[[["])", anySize, 1));
    EXPECT_FALSE(jsonIsBounded(R"(["\\", [[]]])", anySize, 2));
    EXPECT_TRUE(jsonIsBounded("/* [[[ \" */ [ // [[[ \"\n]", anySize, 1));
    EXPECT_FALSE(jsonIsBounded("// \"\r[[[", anySize, 2));
    EXPECT_FALSE(jsonIsBounded("/*/ \" */ [[[", anySize, 2));
    EXPECT_FALSE(jsonIsBounded("[\"/*\", [[]]]", anySize, 2));
    EXPECT_TRUE(jsonIsBounded("\"unfinished [[[[ \\", anySize, 0));
    EXPECT_TRUE(jsonIsBounded("/* unfinished [[[[", anySize, 0));
    EXPECT_TRUE(jsonIsBounded("/", anySize, 0));
}

/// A parser that throws as soon as it goes deeper than `depth` levels.
bool parserGoesDeeper(const std::string& text, unsigned depth) {
    Json::CharReaderBuilder builder;
    builder["stackLimit"] = depth + 1;  // the value inside the innermost level counts too
    const std::unique_ptr<Json::CharReader> reader(builder.newCharReader());
    Json::Value document;
    try {
        reader->parse(text.data(), text.data() + text.size(), &document, nullptr);
        return false;
    } catch (const std::exception&) {
        return true;
    }
}

// What the guard lets through never takes the parser deeper than the guard said; the inner value of
// a level that holds one may be one more.
TEST(JsonGuard, NeverLetsTheParserGoDeeper) {
    constexpr unsigned depth = 4;
    const std::string pieces[] = {"[", "[",    "]",      "{",  "}",  "\"",          "\\",
                                  "/", "*",    "//",     "\n", "\r", ",",           ":",
                                  "1", "true", "\"a\":", "'",  "-",  "\xef\xbb\xbf"};
    std::mt19937 random(4711);  // NOLINT(cert-msc32-c,cert-msc51-cpp): the same run every time
    std::uniform_int_distribution<std::size_t> pick(0, std::size(pieces) - 1);
    int passed = 0;
    int deep = 0;
    for (int round = 0; round < 200'000; ++round) {
        std::string text;
        for (std::size_t count = pick(random) + 4; count > 0; --count) {
            text += pieces[pick(random)];
        }
        if (jsonIsBounded(text, anySize, depth)) {
            ++passed;
            ASSERT_FALSE(parserGoesDeeper(text, depth)) << text;
        } else {
            ++deep;
        }
    }
    EXPECT_GT(passed, 1000);
    EXPECT_GT(deep, 1000);
}

TEST(JsonGuard, AgreesWithTheParserOnValidText) {
    constexpr unsigned limit = 16;
    for (unsigned depth = 1; depth < 40; ++depth) {
        const std::string full = std::string(depth, '[') + "7" + std::string(depth, ']');
        EXPECT_EQ(jsonIsBounded(full, anySize, limit), !parserGoesDeeper(full, limit)) << depth;
        EXPECT_EQ(jsonIsBounded(full, anySize, limit), depth <= limit) << depth;
    }
}

}  // namespace
}  // namespace KORA::HA::Daemon::support
