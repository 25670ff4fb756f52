// SPDX-License-Identifier: Apache-2.0
#include "tools/log_records.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <vector>

namespace {

using korahamonctl::LogRecords;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

struct Records : ::testing::Test {
    std::vector<std::string> taken;
    LogRecords records{[this](const std::string& record) { taken.push_back(record); }};
};

TEST_F(Records, AreALineWithTheTabbedLinesBehindIt) {
    records.feed("one\ntwo\n\tof two\n\n\tof none\nthree\n");
    EXPECT_THAT(taken, ElementsAre("one", "two\n\tof two", "\n\tof none"));
    records.end();
    EXPECT_EQ(taken.back(), "three");
}

TEST_F(Records, ComeTogetherFromPieces) {
    for (const char c : std::string("one\ntwo\n\tmore\nthree")) {
        records.feed({&c, 1});
    }
    EXPECT_THAT(taken, ElementsAre("one"));
    records.end();
    EXPECT_THAT(taken, ElementsAre("one", "two\n\tmore", "three"));
}

TEST_F(Records, AreCompleteWhenAllIsWrittenButHalfALineIsNot) {
    records.feed("one\n");
    records.settle();
    EXPECT_THAT(taken, ElementsAre("one"));
    records.feed("tw");
    records.settle();
    EXPECT_THAT(taken, ElementsAre("one"));
    records.feed("o\n");
    records.settle();
    EXPECT_THAT(taken, ElementsAre("one", "two"));
    records.settle();
    records.end();
    EXPECT_EQ(taken.size(), 2U);
}

TEST_F(Records, BeginWithATabWhereNoLineStandsBefore) {
    records.feed("\tcut off\none\n");
    records.end();
    EXPECT_THAT(taken, ElementsAre("\tcut off", "one"));
}

TEST_F(Records, AreCutWhenTheyAreTooLong) {
    for (int i = 0; i < 100; ++i) {
        records.feed(std::string(10'000, 'x'));
    }
    records.feed("\nshort\n\t" + std::string(100'000, 'y') + "\n");
    records.end();
    ASSERT_EQ(taken.size(), 2U);
    EXPECT_EQ(taken[0].size(), 65'536U + 3);
    EXPECT_TRUE(taken[0].ends_with("xxx..."));
    EXPECT_EQ(taken[1].size(), 65'536U + 3);
    EXPECT_TRUE(taken[1].starts_with("short\n\tyyy"));
}

TEST_F(Records, AreNoneInNothing) {
    records.feed("");
    records.settle();
    records.end();
    EXPECT_THAT(taken, IsEmpty());
}

}  // namespace
