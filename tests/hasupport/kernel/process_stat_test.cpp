// SPDX-License-Identifier: Apache-2.0
#include "hasupport/kernel/process_stat.h"

#include <gtest/gtest.h>

#include <string>

namespace {

using KORA::HA::Daemon::support::parseProcessStat;
using KORA::HA::Daemon::support::parseStatusKilobytes;

const std::string rest =
    " S 7 11 12 0 -1 4194560 97 0 0 0 123 45 0 0 20 0 8 0 637957 3133440 358 "
    "18446744073709551615 1 2 3 4 5 0 0 0 0 0 0 0 17 1 0 0 0 0 0 0 0 0 0 0 0 0 0\n";

TEST(ProcessStat, GivesEveryField) {
    const auto stat = parseProcessStat("42 (smbd)" + rest).value();
    EXPECT_EQ(stat.pid, 42U);
    EXPECT_EQ(stat.name, "smbd");
    EXPECT_EQ(stat.state, 'S');
    EXPECT_EQ(stat.parent, 7U);
    EXPECT_EQ(stat.userTicks, 123U);
    EXPECT_EQ(stat.systemTicks, 45U);
    EXPECT_EQ(stat.threads, 8U);
    EXPECT_EQ(stat.startTicks, 637957U);
    EXPECT_EQ(stat.residentPages, 358U);
    EXPECT_FALSE(stat.isKernelThread());
}

TEST(ProcessStat, ANameMayHoldAnything) {
    for (const std::string name : {"a b", "a) R 1 (b", ")", "((", "", "two\nlines", ") S 1 1"}) {
        const auto stat = parseProcessStat("42 (" + name + ")" + rest);
        ASSERT_TRUE(stat) << name;
        EXPECT_EQ(stat->name, name);
        EXPECT_EQ(stat->parent, 7U);
    }
}

TEST(ProcessStat, KnowsKernelThreads) {
    EXPECT_TRUE(
        parseProcessStat("2 (kthreadd) S 0 0 0 0 -1 2129984 0 0 0 0 0 0 0 0 20 0 1 0 2 0 0 1 "
                         "0 0 0 0 0 0 2147483647 0 0 0 0 0 0 1 0 0 0 0\n")
            .value()
            .isKernelThread());
}

TEST(ProcessStat, TakesNewFieldsAndRefusesMissingOnes) {
    const std::string whole = "42 (smbd)" + rest;
    EXPECT_TRUE(parseProcessStat(whole.substr(0, whole.size() - 1) + " 1 2 3\n"));
    const auto residentEnd = whole.find("358") + 3;
    EXPECT_TRUE(parseProcessStat(whole.substr(0, residentEnd)));
    for (std::size_t size = 0; size < residentEnd - 3; ++size) {
        EXPECT_FALSE(parseProcessStat(whole.substr(0, size))) << size;
    }
    EXPECT_FALSE(parseProcessStat(") 42 (" + rest));
    EXPECT_FALSE(parseProcessStat("x (smbd)" + rest));
}

TEST(ProcessStatus, FindsAWholeKeyOnly) {
    const std::string text = "Name:\ta\nVmLckX:\t 1 kB\nVmLck:\t   3264 kB\nVmSwap:\t0 kB\n";
    EXPECT_EQ(parseStatusKilobytes(text, "VmLck"), 3264U);
    EXPECT_EQ(parseStatusKilobytes(text, "VmSwap"), 0U);
    EXPECT_FALSE(parseStatusKilobytes(text, "VmL"));
    EXPECT_FALSE(parseStatusKilobytes(text, "Name"));
    EXPECT_FALSE(parseStatusKilobytes("", "VmLck"));
}

}  // namespace
