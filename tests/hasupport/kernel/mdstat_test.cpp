// SPDX-License-Identifier: Apache-2.0
#include "hasupport/kernel/mdstat.h"

#include <gtest/gtest.h>

#include <string>
#include <utility>
#include <vector>

#include "hasupport/kernel/md_view.h"
#include "tests/support/scratch_dir.h"
#include "tests/support/small_stack.h"
#include "tests/support/test_data.h"

namespace KORA::HA::Daemon::support {
namespace {

struct Counts {
    int arrays;
    int resyncing;
    int degraded;
    bool operator==(const Counts&) const = default;
};

void PrintTo(const Counts& counts, std::ostream* out) {
    *out << counts.arrays << " arrays, " << counts.resyncing << " resyncing, " << counts.degraded
         << " degraded";
}

Counts countsOf(const std::vector<MdArray>& arrays) {
    Counts counts{static_cast<int>(arrays.size()), 0, 0};
    for (const MdArray& array : arrays) {
        counts.resyncing += array.resyncing ? 1 : 0;
        counts.degraded += array.degraded ? 1 : 0;
    }
    return counts;
}

TEST(Mdstat, readsEveryCapturedText) {
    const std::vector<std::pair<const char*, Counts>> captured{
        {"md-check", {1, 0, 0}},
        {"md-clean", {1, 0, 0}},
        {"md-degraded-faulty", {1, 0, 1}},
        {"md-degraded-removed", {1, 0, 1}},
        {"md-frozen", {1, 0, 0}},
        {"md-member-in-scsi-recovery", {1, 0, 0}},
        {"md-member-scsi-offline", {1, 0, 1}},
        {"md-none", {0, 0, 0}},
        {"md-recovery", {1, 1, 1}},
        {"md-recovery-frozen", {1, 0, 1}},
        {"md-repair", {1, 1, 0}},  // the text calls it a resync
        {"md-reshape", {1, 1, 0}},
        {"md-resync", {1, 1, 0}},
        {"md-resync-delayed", {3, 3, 0}},
        {"md-resync-pending", {1, 1, 0}},
        {"md-resync-resumed", {1, 1, 0}},
    };
    for (const auto& [name, counts] : captured) {
        const auto arrays = parseMdstat(koraha::test::testText(std::string(name) + "/proc/mdstat"));
        ASSERT_TRUE(arrays) << name;
        EXPECT_EQ(countsOf(*arrays), counts) << name;
    }
}

TEST(Mdstat, standsInWhereSysfsDoesNotTell) {
    KernelRoots roots = koraha::test::capturedRoots("md-resync-pending");
    roots.sys = "/nonexistent";
    const MdView md = readMd(roots);
    EXPECT_TRUE(md.known);
    EXPECT_EQ(countsOf(md.arrays), (Counts{1, 1, 0}));
}

TEST(Mdstat, withNeitherSourceNothingIsKnown) {
    KernelRoots roots = koraha::test::capturedRoots("md-module-not-loaded");
    roots.sys = "/nonexistent";
    const MdView md = readMd(roots);
    EXPECT_FALSE(md.known);
    EXPECT_NE(md.reason, "");
}

TEST(Mdstat, garbageInItsPlaceIsNotKnown) {
    const koraha::test::ScratchDir scratch;
    scratch.write("mdstat", "no such thing\n");
    const MdView md = readMd({scratch.path(), "/nonexistent"});
    EXPECT_FALSE(md.known);
    EXPECT_NE(md.reason, "");
}

TEST(Mdstat, takesUnknownThingsForNormal) {
    const auto arrays = parseMdstat(
        "Personalities : [raid1] [raid99]\nread_ahead 1024 sectors\nmdnot an array\n"
        "md_home : active (read-only) raid1 nvme0n1p2[1](W)(X) dm-3[0](?) \n"
        "      64512 blocks super 9.9 [2/2] [UU] [what/ever] [3/x] [/] []\n"
        "      bitmap: 0/1 pages [0KB], 65536KB chunk, resync delayed by moonlight\n"
        "      resync-ish = none recovery\n\n"
        "md127 : inactive sdc1[0](S)\n      1000 blocks\n      \n"
        "md1 : active raid1 sda1[0]\n      resync=REMOTE\n"
        "unused devices: sdx[0] <none>\nmd9 : beyond the end\n");
    ASSERT_TRUE(arrays);
    EXPECT_EQ(countsOf(*arrays), (Counts{3, 1, 0}));
    EXPECT_EQ(arrays->front().name, "md_home");
}

TEST(Mdstat, refusesTruncatedText) {
    const std::string text = koraha::test::testText("md-recovery/proc/mdstat");
    for (std::size_t size = 0; size < text.find("unused devices:"); ++size) {
        EXPECT_FALSE(parseMdstat(std::string_view(text).substr(0, size))) << size;
    }
}

TEST(Mdstat, refusesGarbage) {
    for (const char* const text : {"", "\n", "md0 : active\n", "unused devices: <none>\n",
                                   " Personalities : \nunused devices: <none>\n"}) {
        EXPECT_FALSE(parseMdstat(text)) << text;
    }
}

TEST(Mdstat, boundsAnEnormousText) {
    koraha::test::onSmallStack([] {
        std::string text = "Personalities : [raid1]\n";
        for (int array = 0; array < 20000; ++array) {
            text += "md" + std::to_string(array) + " : active raid1\n";
        }
        EXPECT_FALSE(parseMdstat(text + "unused devices: <none>\n"));
        const std::string longLine(1U << 20U, 'x');
        EXPECT_TRUE(parseMdstat("Personalities : \nmd0 : active\n " + longLine +
                                "\nunused devices: <none>\n"));
    });
}

}  // namespace
}  // namespace KORA::HA::Daemon::support
