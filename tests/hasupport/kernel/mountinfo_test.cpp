// SPDX-License-Identifier: Apache-2.0
#include "hasupport/kernel/mountinfo.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace {

using KORA::HA::Daemon::support::localMounts;
using KORA::HA::Daemon::support::Mount;
using KORA::HA::Daemon::support::parseMountinfo;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

std::vector<std::string> localPoints(const std::string& text) {
    std::vector<std::string> points;
    for (const Mount& mount : localMounts(parseMountinfo(text))) {
        points.push_back(mount.point);
    }
    return points;
}

const std::string root = "27 1 254:0 / / rw,relatime - ext4 /dev/vda rw,discard\n";

TEST(Mountinfo, GivesEveryField) {
    const auto mounts = parseMountinfo(
        "36 35 8:17 /sub /mnt/two\\040words\\134x ro,noatime shared:5 master:1 - xfs /dev/sdb1 "
        "rw\n");
    ASSERT_EQ(mounts.size(), 1U);
    EXPECT_EQ(mounts[0].id, 36U);
    EXPECT_EQ(mounts[0].major, 8U);
    EXPECT_EQ(mounts[0].minor, 17U);
    EXPECT_EQ(mounts[0].point, "/mnt/two words\\x");
    EXPECT_EQ(mounts[0].type, "xfs");
    EXPECT_EQ(mounts[0].source, "/dev/sdb1");
    EXPECT_FALSE(mounts[0].readOnly) << "only this view of it is";
}

TEST(Mountinfo, AReadOnlyFileSystemIsSoOnEveryMount) {
    EXPECT_TRUE(parseMountinfo("1 0 8:1 / /a rw - ext4 /dev/sda1 ro,errors=x\n").at(0).readOnly);
    EXPECT_FALSE(
        parseMountinfo("1 0 8:1 / /a rw,root - ext4 /dev/sda1 errors=ro\n").at(0).readOnly);
}

TEST(Mountinfo, PassesOverCutLines) {
    const std::string line = "36 35 8:17 / /mnt rw shared:5 - xfs /dev/sdb1 rw";
    for (std::size_t size = 0; size < line.find("xfs"); ++size) {
        EXPECT_THAT(parseMountinfo(line.substr(0, size)), IsEmpty()) << size;
    }
    EXPECT_THAT(parseMountinfo("x 35 8:17 / /mnt rw - xfs /dev/sdb1 rw"), IsEmpty());
    EXPECT_THAT(parseMountinfo("36 35 8 / /mnt rw - xfs /dev/sdb1 rw"), IsEmpty());
    EXPECT_EQ(parseMountinfo("rubbish\n" + root + "\n" + line).size(), 2U);
    EXPECT_EQ(parseMountinfo("1 0 8:1 / /a\\04 rw - ext4 x rw\n").at(0).point, "/a\\04");
    EXPECT_EQ(parseMountinfo("1 0 8:1 / /a\\999\\ rw - ext4 x rw\n").at(0).point, "/a\\999\\");
}

TEST(LocalMounts, AreThoseOfBlockDevices) {
    EXPECT_THAT(localPoints(root + "30 27 0:25 / /run rw - tmpfs tmpfs rw\n"
                                   "31 27 147:0 / /volume1 rw - ext4 /dev/drbd0 rw\n"
                                   "32 27 0:40 /@ /data rw - btrfs /dev/md2 rw\n"
                                   "33 27 0:50 / /net rw - nfs4 server:/x rw\n"
                                   "34 27 8:33 / /usb rw - fuseblk /dev/sdc1 rw\n"
                                   "35 27 8:49 / /shared rw - ocfs2 /dev/sdd1 rw\n"
                                   "36 27 0:51 / /fuse rw - fuse.sshfs /dev/fuse rw\n"),
                ElementsAre("/", "/volume1", "/data"));
}

TEST(LocalMounts, NameEachDeviceOnce) {
    EXPECT_THAT(localPoints(root + "30 27 254:0 /var /srv rw - ext4 /dev/vda rw\n"
                                   "32 27 0:40 /@ /data rw - btrfs /dev/md2 rw\n"
                                   "33 27 0:40 /@home /home rw - btrfs /dev/md2 rw\n"),
                ElementsAre("/", "/data"));
}

TEST(LocalMounts, AreNotReachedThroughWhatMayHang) {
    EXPECT_THAT(localPoints(root + "30 27 0:50 / /net rw - nfs server:/x rw\n"
                                   "31 30 8:1 / /net/disk rw - ext4 /dev/sda1 rw\n"
                                   "32 27 8:17 / /network rw - ext4 /dev/sdb1 rw\n"),
                ElementsAre("/", "/network"));
    EXPECT_THAT(localPoints(root + "31 27 8:1 / /disk rw - ext4 /dev/sda1 rw\n"
                                   "32 31 0:50 / /disk rw - cifs //server/x rw\n"),
                ElementsAre("/"))
        << "covered";
    EXPECT_THAT(localPoints(root + "30 27 0:33 / /auto rw - autofs systemd-1 rw\n"
                                   "31 30 8:1 / /auto/disk rw - ext4 /dev/sda1 rw\n"
                                   "32 27 0:34 / /odd rw - somethingfs x rw\n"
                                   "33 32 8:2 / /odd/disk rw - ext4 /dev/sda2 rw\n"),
                ElementsAre("/"));
    EXPECT_THAT(localPoints("27 1 0:50 / / rw - nfs server:/root rw\n"
                            "31 27 8:1 / /disk rw - ext4 /dev/sda1 rw\n"),
                IsEmpty());
}

}  // namespace
