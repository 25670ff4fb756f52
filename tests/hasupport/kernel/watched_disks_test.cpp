// SPDX-License-Identifier: Apache-2.0
#include "hasupport/kernel/watched_disks.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <set>
#include <string>

#include "tests/support/scratch_dir.h"
#include "tests/support/test_data.h"

namespace KORA::HA::Daemon::support {
namespace {

using Names = std::set<std::string>;

TEST(WatchedDisks, goesThroughDeviceMapper) {
    EXPECT_EQ(watchedDisks(koraha::test::capturedRoots("drbd-connected-primary"), {}),
              Names{"vda"});
}

TEST(WatchedDisks, goesThroughPartitions) {
    EXPECT_EQ(watchedDisks(koraha::test::capturedRoots("md-resync-delayed"), {}),
              (Names{"loop0", "loop1", "vda", "vdb"}));
}

TEST(WatchedDisks, findsNoneWhereNoVolumeIs) {
    EXPECT_EQ(watchedDisks(koraha::test::capturedRoots("scsi-healthy"), {}), Names{});
}

TEST(WatchedDisks, takesNamedOnesWhenTheyExist) {
    EXPECT_EQ(watchedDisks(koraha::test::capturedRoots("scsi-healthy"),
                           {"sda", "/dev/sdb", "sdx", "", "..", "../sdc", "/dev/", "a/b"}),
              (Names{"sda", "sdb"}));
}

TEST(WatchedDisks, leavesFaultyMembersOut) {
    EXPECT_EQ(watchedDisks(koraha::test::capturedRoots("md-member-scsi-offline"), {"sdd", "sda"}),
              (Names{"loop0", "sda"}));
}

TEST(WatchedDisks, endsOnVolumesThatHoldEachOther) {
    const koraha::test::ScratchDir scratch;
    for (const char* const entry : {"md0/slaves/md1", "md0/slaves/md2", "md1/slaves/md0",
                                    "md1/slaves/md2", "md2/slaves/md0", "md2/slaves/sda", "sda"}) {
        std::filesystem::create_directories(scratch.path("block/" + std::string(entry)));
    }
    EXPECT_EQ(watchedDisks({"", scratch.path()}, {}), Names{"sda"});
}

TEST(WatchedDisks, areUnknownWithoutSysfs) {
    EXPECT_EQ(watchedDisks({"/nonexistent", "/nonexistent"}, {"sda"}), std::nullopt);
}

}  // namespace
}  // namespace KORA::HA::Daemon::support
