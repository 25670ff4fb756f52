// SPDX-License-Identifier: Apache-2.0
#include "config/number_text.h"

#include <gtest/gtest.h>

#include <limits>
#include <string>
#include <utility>
#include <vector>

namespace KORA::HA::Daemon {
namespace {

constexpr int intMax = std::numeric_limits<int>::max();
constexpr int intMin = std::numeric_limits<int>::min();

// Texts that spell no decimal number as a whole.
const std::vector<std::string> noNumbers = {
    "",    " ",    "+",      "-",    ".",    "abc",      "12abc", "abc12", "1 2",   "1,5",
    "--1", "+-1",  "-+1",    "++1",  "0x10", "1e",       "e3",    "1e+",   "1.2.3", "inf",
    "nan", "-inf", "+inf",   "+nan", "INF",  "infinity", "1f",    "1_000", "- 1",   "+ 1",
    "1-2", "1+2",  "NaN(1)", "true", "null", "\u00A01",  "1;",    "0b11",  "1e1.5", "1L",
};

TEST(IntFromText, wholeNumbers) {
    const std::vector<std::pair<std::string, int>> table = {
        {"0", 0},
        {"1800", 1800},
        {"-7", -7},
        {"+7", 7},
        {"007", 7},
        {"-0", 0},
        {"5242880", 5242880},
        {"2147483647", intMax},
        {"-2147483648", intMin},
    };
    for (const auto& [text, number] : table) {
        EXPECT_EQ(number, intFromText(text)) << text;
    }
}

TEST(IntFromText, realNumbersAreTruncatedTowardZero) {
    const std::vector<std::pair<std::string, int>> table = {
        {"12.9", 12},
        {"-12.9", -12},
        {"0.999", 0},
        {"-0.5", 0},
        {"1e3", 1000},
        {"1E3", 1000},
        {"1.5e1", 15},
        {"12.", 12},
        {".5", 0},
        {"+2.5", 2},
        {"1e-9", 0},
        {"100.0", 100},
        {"1e+2", 100},
        {"2147483647.9", intMax},
        {"-2147483648.9", intMin},
    };
    for (const auto& [text, number] : table) {
        EXPECT_EQ(number, intFromText(text)) << text;
    }
}

TEST(IntFromText, blanksAroundTheNumberAreAllowed) {
    for (const char* text : {" 30", "30 ", "\t30\n", " \r\n\v\f30 ", "  +30  ", " 30.7 "}) {
        EXPECT_EQ(30, intFromText(text)) << '"' << text << '"';
    }
}

TEST(IntFromText, outOfRangeIsNoNumber) {
    for (const char* text : {"2147483648", "-2147483649", "99999999999999999999", "1e10", "-1e10",
                             "1e400", "-1e400", "2147483648.0"}) {
        EXPECT_EQ(std::nullopt, intFromText(text)) << text;
    }
}

TEST(IntFromText, otherTextsAreNoNumber) {
    for (const std::string& text : noNumbers) {
        EXPECT_EQ(std::nullopt, intFromText(text)) << '"' << text << '"';
    }
    EXPECT_EQ(std::nullopt, intFromText(std::string("1\0", 2)));
    EXPECT_EQ(std::nullopt, intFromText(std::string("\0", 1)));
    EXPECT_EQ(std::nullopt, intFromText(std::string("1\0002", 3)));
}

TEST(FloatFromText, decimalNumbers) {
    const std::vector<std::pair<std::string, float>> table = {
        {"100.0", 100.0F},
        {"0.001", 0.001F},
        {"-2.5", -2.5F},
        {"+2.5", 2.5F},
        {"150", 150.0F},
        {".5", 0.5F},
        {"5.", 5.0F},
        {"1e-3", 0.001F},
        {"1E2", 100.0F},
        {" 0.25\t", 0.25F},
        {"3.4028234e38", std::numeric_limits<float>::max()},
    };
    for (const auto& [text, number] : table) {
        EXPECT_EQ(number, floatFromText(text)) << text;
    }
}

TEST(FloatFromText, outOfRangeIsNoNumber) {
    for (const char* text : {"1e39", "-1e39", "1e400", "1e-400"}) {
        EXPECT_EQ(std::nullopt, floatFromText(text)) << text;
    }
}

TEST(FloatFromText, otherTextsAreNoNumber) {
    for (const std::string& text : noNumbers) {
        EXPECT_EQ(std::nullopt, floatFromText(text)) << '"' << text << '"';
    }
    EXPECT_EQ(std::nullopt, floatFromText(std::string("1\0", 2)));
}

TEST(NumberText, longTextsAreReadWhole) {
    EXPECT_EQ(7, intFromText(std::string(100'000, '0') + "7"));
    EXPECT_EQ(7.5F, floatFromText(std::string(1'000, ' ') + "7.5" + std::string(1'000, '0')));
    EXPECT_EQ(std::nullopt, intFromText(std::string(100'000, '9')));
    EXPECT_EQ(std::nullopt, floatFromText(std::string(100'000, '-')));
}

}  // namespace
}  // namespace KORA::HA::Daemon
