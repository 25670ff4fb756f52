// SPDX-License-Identifier: Apache-2.0
#include "hasupport/kernel/meminfo.h"

#include <gtest/gtest.h>

namespace {

using KORA::HA::Daemon::support::parseMeminfo;

TEST(Meminfo, GivesTheFiguresInKilobytes) {
    const auto figures = parseMeminfo("MemTotal:       24684092 kB\nActive(anon):  1568 kB\n");
    ASSERT_EQ(figures.size(), 2U);
    EXPECT_EQ(figures[0].name, "MemTotal");
    EXPECT_EQ(figures[0].kilobytes, 24684092U);
    EXPECT_EQ(figures[1].name, "Active(anon)");
}

TEST(Meminfo, PassesOverWhatItDoesNotKnow) {
    EXPECT_TRUE(parseMeminfo("").empty());
    EXPECT_TRUE(parseMeminfo("HugePages_Total:       0\n").empty());
    EXPECT_TRUE(
        parseMeminfo("MemTotal 5 kB\nMemTotal: five kB\nMemTotal: 5 MB\n: 5 kB\nMem").empty());
    EXPECT_EQ(parseMeminfo("\n\nnew line of text\nSlab: 7 kB").size(), 1U);
}

}  // namespace
