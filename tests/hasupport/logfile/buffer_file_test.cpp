// SPDX-License-Identifier: Apache-2.0
#include "hasupport/logfile/buffer_file.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include "tests/support/scratch_dir.h"

namespace KORA::HA::Daemon::support {
namespace {

class BufferFileTest : public testing::Test {
  protected:
    BufferFile open(bool make = true) const { return openBufferFile({directory(), make}, "name"); }
    std::string directory() const { return scratch_.path("run"); }
    std::string path() const { return scratch_.path("run/name"); }

    /// Nothing was opened, for this reason, and what stands there is as it was.
    void expectRefused(const std::string& reason) const {
        struct stat before {};
        struct stat after {};
        ::lstat(path().c_str(), &before);
        const BufferFile file = open();
        EXPECT_FALSE(file.fd);
        EXPECT_FALSE(file.trouble.busy);
        EXPECT_EQ(file.trouble.text, path() + ": " + reason);
        ::lstat(path().c_str(), &after);
        EXPECT_EQ(before.st_ino, after.st_ino);
        EXPECT_EQ(before.st_size, after.st_size);
        EXPECT_EQ(before.st_mode, after.st_mode);
    }

    koraha::test::ScratchDir scratch_;
};

TEST_F(BufferFileTest, IsMadeForItsOwnerAlone) {
    const mode_t before = ::umask(0);
    const BufferFile file = open();
    ::umask(before);
    EXPECT_TRUE(file.fd);
    EXPECT_EQ(file.trouble.text, "");
    struct stat info {};
    ASSERT_EQ(::stat(directory().c_str(), &info), 0);
    EXPECT_EQ(info.st_mode & 07777U, 0700U);
    ASSERT_EQ(::stat(path().c_str(), &info), 0);
    EXPECT_EQ(info.st_mode & 07777U, 0600U);
    EXPECT_EQ(::fcntl(file.fd.get(), F_GETFD), FD_CLOEXEC);
}

TEST_F(BufferFileTest, HasOneOwnerAtATime) {
    BufferFile first = open();
    const BufferFile second = open();
    EXPECT_FALSE(second.fd);
    EXPECT_TRUE(second.trouble.busy);
    EXPECT_EQ(second.trouble.text, path() + ": is in use by another process");
    first.fd.reset();
    EXPECT_TRUE(open().fd);
}

TEST_F(BufferFileTest, IsNotMadeWhereNoneIsWanted) {
    EXPECT_TRUE(open(false).trouble.absent);
    EXPECT_NE(::access(directory().c_str(), F_OK), 0);
    ASSERT_EQ(::mkdir(directory().c_str(), 0700), 0);
    EXPECT_TRUE(open(false).trouble.absent);
    EXPECT_NE(::access(path().c_str(), F_OK), 0);
}

TEST_F(BufferFileTest, RefusesWhatSomeoneElseMayHavePlanted) {
    const std::string other = scratch_.write("other", "precious", 0600);
    ASSERT_EQ(::mkdir(directory().c_str(), 0700), 0);

    ASSERT_EQ(::symlink(other.c_str(), path().c_str()), 0);
    expectRefused("is a link");
    ASSERT_EQ(::unlink(path().c_str()), 0);

    ASSERT_EQ(::link(other.c_str(), path().c_str()), 0);
    expectRefused("has a second name");
    ASSERT_EQ(::unlink(path().c_str()), 0);

    ASSERT_EQ(::mkfifo(path().c_str(), 0600), 0);
    expectRefused("is not a regular file");
    ASSERT_EQ(::unlink(path().c_str()), 0);

    ASSERT_EQ(::mkdir(path().c_str(), 0700), 0);
    expectRefused("Is a directory");
    ASSERT_EQ(::rmdir(path().c_str()), 0);

    scratch_.write("run/name", "", 0640);
    expectRefused("has a mode that lets others at it");
    if (::geteuid() == 0) {
        ASSERT_EQ(::chmod(path().c_str(), 0600), 0);
        ASSERT_EQ(::chown(path().c_str(), 65534, 65534), 0);
        expectRefused("belongs to someone else");
    }
    EXPECT_EQ(scratch_.read("other"), "precious");
}

TEST_F(BufferFileTest, RefusesADirectoryThatOthersCanWriteTo) {
    for (const mode_t mode : {0770U, 0707U, 01777U}) {
        ::mkdir(directory().c_str(), 0700);
        ASSERT_EQ(::chmod(directory().c_str(), mode), 0);
        expectRefused("others can write to the directory");
    }
    EXPECT_NE(::access(path().c_str(), F_OK), 0);
    if (::geteuid() == 0) {
        ASSERT_EQ(::chmod(directory().c_str(), 0700), 0);
        ASSERT_EQ(::chown(directory().c_str(), 65534, 65534), 0);
        expectRefused("others can write to the directory");
        ASSERT_EQ(::chown(directory().c_str(), 0, 0), 0);
    }
    ASSERT_EQ(::rmdir(directory().c_str()), 0);
    ASSERT_EQ(::mkdir(scratch_.path("real").c_str(), 0700), 0);
    ASSERT_EQ(::symlink("real", directory().c_str()), 0);
    expectRefused("Not a directory");
    EXPECT_NE(::access(scratch_.path("real/name").c_str(), F_OK), 0);
}

TEST_F(BufferFileTest, CanBeSetAsideOnce) {
    { EXPECT_TRUE(open().fd); }
    EXPECT_TRUE(setBufferAside({directory(), true}, "name", 7));
    EXPECT_EQ(::access((path() + ".version-7").c_str(), F_OK), 0);
    { EXPECT_TRUE(open().fd); }
    EXPECT_FALSE(setBufferAside({directory(), true}, "name", 7));
    EXPECT_EQ(::access(path().c_str(), F_OK), 0);
}

TEST(BufferName, TellsLogsApart) {
    EXPECT_EQ(bufferName("/var/log/ha/ha.daemon.log").rfind("ha.daemon.log.", 0), 0U);
    EXPECT_NE(bufferName("/var/log/ha/a.log"), bufferName("/var/log/hb/a.log"));
    EXPECT_NE(bufferName("/x/a b"), bufferName("/x/a_b"));
    EXPECT_EQ(bufferName("/x/a b\n%").find_first_of(" \n%/"), std::string::npos);
    EXPECT_LT(bufferName("/" + std::string(5000, 'x')).size(), 100U);
    EXPECT_EQ(bufferName("noslash").rfind("noslash.", 0), 0U);
}

}  // namespace
}  // namespace KORA::HA::Daemon::support
