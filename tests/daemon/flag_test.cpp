// SPDX-License-Identifier: Apache-2.0
#include "monitor/flag.h"

#include <gtest/gtest.h>
#include <sys/mount.h>
#include <sys/stat.h>
#include <unistd.h>

#include <fstream>
#include <iterator>

#include "tests/daemon/support/calls.h"
#include "tests/daemon/support/own_system.h"
#include "tests/scripted/script.h"

namespace KORA::HA::Daemon {
namespace {

using namespace koraha::test;

const Calls createdOnce{"koraharemotemond:87 Create flag: /tmp/ha/ha_remote_busy"};
const Calls deletedOnce{"koraharemotemond:94 Delete flag: /tmp/ha/ha_remote_busy"};

std::string contentOf(const std::string& path) {
    std::ifstream file(path);
    return {std::istreambuf_iterator<char>(file), {}};
}

TEST(Flag, upOnAnAbsentFileCreatesAnEmptyOneAndLogsAndASecondUpIsSilent) {
    inOwnSystem([] {
        Flag(remoteBusyFlagPath).up();
        EXPECT_TRUE(exists(busyFlag));
        EXPECT_EQ("", contentOf(busyFlag));
        EXPECT_EQ(createdOnce, script().logLines);
        Flag(remoteBusyFlagPath).up();
        EXPECT_EQ(createdOnce, script().logLines);
    });
}

TEST(Flag, upLeavesAFileThatExistsAsItIs) {
    inOwnSystem([] {
        std::ofstream(busyFlag) << "content";
        Flag(busyFlag).up();
        EXPECT_EQ("content", contentOf(busyFlag));
        EXPECT_TRUE(script().logLines.empty());
    });
}

TEST(Flag, upOnADirectoryOrAnyOtherKindOfFileDoesNothing) {
    inOwnSystem([] {
        ASSERT_EQ(0, ::mkdir("/tmp/directory", 0755));
        ASSERT_EQ(0, ::mkfifo("/tmp/pipe", 0644));
        ASSERT_EQ(0, ::symlink("/tmp/directory", "/tmp/link"));
        for (const char* path : {"/tmp/directory", "/tmp/pipe", "/tmp/link"}) {
            Flag(path).up();
        }
        EXPECT_TRUE(script().logLines.empty());
    });
}

TEST(Flag, upFollowsALinkToNothingAndDownSeesNothingThere) {
    inOwnSystem([] {
        ASSERT_EQ(0, ::symlink("/tmp/target", busyFlag));
        Flag(busyFlag).down();
        EXPECT_TRUE(script().logLines.empty());
        Flag(busyFlag).up();
        EXPECT_TRUE(exists("/tmp/target"));
        EXPECT_EQ(createdOnce, script().logLines);
    });
}

TEST(Flag, upWithoutItsDirectoryCreatesNothingAndStillLogs) {
    inOwnSystem([] {
        ASSERT_EQ(0, ::rmdir("/tmp/ha"));
        Flag(busyFlag).up();
        EXPECT_FALSE(exists(busyFlag));
        EXPECT_FALSE(exists("/tmp/ha"));
        EXPECT_EQ(createdOnce, script().logLines);
    });
}

TEST(Flag, downOnAnAbsentFileLogsNothing) {
    inOwnSystem([] {
        Flag(busyFlag).down();
        EXPECT_TRUE(script().logLines.empty());
    });
}

TEST(Flag, downOnAPresentFileRemovesItAndLogs) {
    inOwnSystem([] {
        touch(busyFlag);
        Flag(busyFlag).down();
        EXPECT_FALSE(exists(busyFlag));
        EXPECT_EQ(deletedOnce, script().logLines);
        Flag(busyFlag).down();
        EXPECT_EQ(deletedOnce, script().logLines);
    });
}

TEST(Flag, downOnANonEmptyDirectoryStillLogs) {
    inOwnSystem([] {
        ASSERT_EQ(0, ::mkdir(busyFlag, 0755));
        touch(std::string(busyFlag) + "/file");
        Flag(busyFlag).down();
        EXPECT_TRUE(exists(busyFlag));
        EXPECT_EQ(deletedOnce, script().logLines);
    });
}

TEST(Flag, downWithoutPermissionStillLogs) {
    inOwnSystem([] {
        ASSERT_EQ(0, ::mount("tmpfs", "/tmp/ha", "tmpfs", 0, nullptr));
        touch(busyFlag);
        ASSERT_EQ(0, ::mount(nullptr, "/tmp/ha", nullptr, MS_REMOUNT | MS_RDONLY, nullptr));
        Flag(busyFlag).down();
        EXPECT_TRUE(exists(busyFlag));
        EXPECT_EQ(deletedOnce, script().logLines);
    });
}

TEST(Flag, remembersNothingAndLooksAfreshEachTime) {
    inOwnSystem([] {
        Flag flag(busyFlag);
        flag.up();
        ::unlink(busyFlag);
        flag.up();
        EXPECT_TRUE(exists(busyFlag));
        flag.down();
        touch(busyFlag);
        flag.down();
        EXPECT_FALSE(exists(busyFlag));
        EXPECT_EQ(createdOnce + createdOnce + deletedOnce + deletedOnce, script().logLines);
    });
}

TEST(Flag, changesTheFileBeforeItLogs) {
    inOwnSystem([] {
        std::vector<bool> existedAtTheLine;
        script().onLogLine = [&](const std::string&) {
            existedAtTheLine.push_back(exists(busyFlag));
        };
        Flag(busyFlag).up();
        Flag(busyFlag).down();
        EXPECT_EQ((std::vector<bool>{true, false}), existedAtTheLine);
    });
}

TEST(Flag, isLeftAsItIsWhenTheObjectIsGone) {
    inOwnSystem([] {
        { Flag(busyFlag).up(); }
        EXPECT_TRUE(exists(busyFlag));
    });
}

}  // namespace
}  // namespace KORA::HA::Daemon
