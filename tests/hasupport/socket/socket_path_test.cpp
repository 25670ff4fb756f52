// SPDX-License-Identifier: Apache-2.0
#include "hasupport/socket/socket_path.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/file.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <atomic>
#include <csignal>
#include <functional>
#include <memory>
#include <thread>

#include "hasupport/socket/group_file.h"
#include "hasupport/socket/socket_occupant.h"
#include "line_client.h"
#include "tests/support/in_namespace.h"
#include "tests/support/scratch_dir.h"

namespace KORA::HA::Daemon::support {
namespace {

using koraha::test::LineClient;
using koraha::test::ScratchDir;

constexpr uid_t nobody = 65534;

class SocketPathTest : public testing::Test {
  protected:
    class OtherUser;

    // Whoever runs the test stands for root.
    SocketPlaces places() const {
        return {scratch_.path("lock"), scratch_.path("group"), ::geteuid()};
    }
    std::string path() const { return scratch_.path("door"); }

    bool exists() const {
        struct stat file {};
        return ::lstat(path().c_str(), &file) == 0;
    }
    bool isConnectable() const { return LineClient(path()).isConnected(); }

    /// A bound socket whose process does not listen on it, or has gone.
    UniqueFd bindOnly(int type = SOCK_STREAM) const {
        UniqueFd fd(::socket(AF_UNIX, type | SOCK_CLOEXEC, 0));
        const auto address = socketAddress(path());
        EXPECT_EQ(::bind(fd.get(), reinterpret_cast<const sockaddr*>(&*address), sizeof(*address)),
                  0);
        return fd;
    }

    uid_t owner() const {
        struct stat file {};
        return ::lstat(path().c_str(), &file) == 0 ? file.st_uid : static_cast<uid_t>(-1);
    }

    static void withCapabilitiesOfTheUnit(const std::function<void()>& body) {
        std::thread([&] {
            koraha::test::keepCapabilitiesOfTheUnit();
            body();
        }).join();
    }

    ScratchDir scratch_;
};

/// A process of an ordinary user that has bound the path, in a directory like /tmp.
class SocketPathTest::OtherUser {
  public:
    OtherUser(const SocketPathTest& test, bool listens) {
        EXPECT_EQ(::chmod(test.scratch_.path().c_str(), 01777), 0);
        std::array<int, 2> ready{-1, -1};
        EXPECT_EQ(::pipe2(ready.data(), O_CLOEXEC), 0);
        const UniqueFd result(ready[0]);
        UniqueFd tell(ready[1]);
        child_ = ::fork();
        if (child_ == 0) {
            ::umask(022);
            const bool changed = ::setgid(nobody) == 0 && ::setuid(nobody) == 0;
            const UniqueFd fd = test.bindOnly();
            const bool bound = changed && (!listens || ::listen(fd.get(), 5) == 0);
            (void)!::write(tell.get(), bound ? "y" : "n", 1);
            ::pause();
            ::_exit(0);
        }
        tell.reset();
        char fine = 'n';
        EXPECT_EQ(::read(result.get(), &fine, 1), 1);
        EXPECT_EQ(fine, 'y');
    }
    ~OtherUser() {
        ::kill(child_, SIGKILL);
        ::waitpid(child_, nullptr, 0);
    }
    OtherUser(const OtherUser&) = delete;
    OtherUser& operator=(const OtherUser&) = delete;

  private:
    pid_t child_ = -1;
};

TEST_F(SocketPathTest, BindsAndRemovesItsFile) {
    {
        SocketPath socket(path(), places());
        ASSERT_TRUE(socket.isUsable());
        EXPECT_EQ(socket.listener(), -1);
        EXPECT_FALSE(exists());
        ASSERT_TRUE(socket.bindAndListen());
        EXPECT_TRUE(isConnectable());
        EXPECT_TRUE(socket.bindAndListen());
    }
    EXPECT_FALSE(exists());
}

TEST_F(SocketPathTest, HasMode0660WhateverTheUmask) {
    for (const mode_t mask : {0U, 0022U, 0077U, 0777U}) {
        const mode_t before = ::umask(mask);
        SocketPath socket(path(), places());
        const bool bound = socket.bindAndListen();
        ::umask(before);
        ASSERT_TRUE(bound);
        struct stat file {};
        ASSERT_EQ(::lstat(path().c_str(), &file), 0);
        EXPECT_EQ(file.st_mode & 07777U, 0660U) << std::oct << mask;
    }
}

TEST_F(SocketPathTest, GivesTheFileItsGroup) {
    if (::geteuid() != 0) {
        GTEST_SKIP() << "only root gives files to any group";
    }
    scratch_.write("group", "root:x:0:\nkoraha:x:4321:someone\n");
    SocketPath socket(path(), places());
    ASSERT_TRUE(socket.bindAndListen());
    struct stat file {};
    ASSERT_EQ(::lstat(path().c_str(), &file), 0);
    EXPECT_EQ(file.st_gid, 4321U);
    EXPECT_EQ(file.st_mode & 07777U, 0660U);
}

TEST_F(SocketPathTest, RefusesPathsThatFitNoSocket) {
    EXPECT_FALSE(SocketPath("", places()).isUsable());
    EXPECT_FALSE(SocketPath(std::string("a\0b", 3), places()).isUsable());
    EXPECT_FALSE(SocketPath("/" + std::string(107, 'x'), places()).isUsable());
    EXPECT_TRUE(SocketPath("/" + std::string(106, 'x'), places()).isUsable());
    EXPECT_FALSE(SocketPath("/" + std::string(107, 'x'), places()).bindAndListen());
}

TEST_F(SocketPathTest, ReplacesAStaleFile) {
    bindOnly().reset();
    ASSERT_TRUE(exists());
    SocketPath socket(path(), places());
    ASSERT_TRUE(socket.bindAndListen());
    EXPECT_TRUE(isConnectable());
}

TEST_F(SocketPathTest, LeavesALiveSocketOfItsOwnKindAlone) {
    SocketPath first(path(), places());
    ASSERT_TRUE(first.bindAndListen());
    {
        SocketPath second(path(), places());
        EXPECT_TRUE(second.isUsable());
        EXPECT_FALSE(second.bindAndListen());
        EXPECT_TRUE(second.isUsable());  // it may try again
    }
    EXPECT_TRUE(isConnectable());
}

TEST_F(SocketPathTest, LeavesALiveSocketAloneThatTakesNobodyIn) {
    const UniqueFd busy = bindOnly();
    ASSERT_EQ(::listen(busy.get(), 0), 0);
    const auto address = socketAddress(path());
    const UniqueFd waiting(::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0));
    ASSERT_EQ(
        ::connect(waiting.get(), reinterpret_cast<const sockaddr*>(&*address), sizeof(*address)),
        0);
    EXPECT_FALSE(SocketPath(path(), places()).bindAndListen());
    EXPECT_TRUE(exists());
}

TEST_F(SocketPathTest, LeavesALiveSocketOfAnotherTypeAlone) {
    const UniqueFd other = bindOnly(SOCK_DGRAM);
    EXPECT_FALSE(SocketPath(path(), places()).bindAndListen());
    EXPECT_TRUE(exists());
}

TEST_F(SocketPathTest, CanBindOnceTheOtherHasGone) {
    auto first = std::make_unique<SocketPath>(path(), places());
    ASSERT_TRUE(first->bindAndListen());
    SocketPath second(path(), places());
    EXPECT_FALSE(second.bindAndListen());
    first.reset();
    EXPECT_TRUE(second.bindAndListen());
    EXPECT_TRUE(isConnectable());
}

TEST_F(SocketPathTest, RemovesOnlyTheFileThatItBound) {
    {
        SocketPath socket(path(), places());
        ASSERT_TRUE(socket.bindAndListen());
        ASSERT_EQ(::unlink(path().c_str()), 0);
        scratch_.write("door", "someone else's");
    }
    EXPECT_EQ(scratch_.read("door"), "someone else's");
}

TEST_F(SocketPathTest, LeavesWhatIsNoSocket) {
    const std::string file = scratch_.write("door", "precious");
    EXPECT_FALSE(SocketPath(path(), places()).bindAndListen());
    EXPECT_EQ(scratch_.read("door"), "precious");

    ASSERT_EQ(::unlink(file.c_str()), 0);
    ASSERT_EQ(::mkdir(path().c_str(), 0755), 0);
    EXPECT_FALSE(SocketPath(path(), places()).bindAndListen());
    EXPECT_EQ(::rmdir(path().c_str()), 0);

    // Neither a link to nowhere nor one to a stale socket is followed.
    ASSERT_EQ(::symlink("nowhere", path().c_str()), 0);
    EXPECT_FALSE(SocketPath(path(), places()).bindAndListen());
    EXPECT_TRUE(exists());
    struct stat target {};
    EXPECT_NE(::lstat(scratch_.path("nowhere").c_str(), &target), 0);
}

TEST_F(SocketPathTest, ReplacesALiveListenerOfAnOrdinaryUser) {
    if (::geteuid() != 0) {
        GTEST_SKIP() << "only root becomes another user";
    }
    const OtherUser user(*this, true);
    SocketPath socket(path(), places());
    EXPECT_TRUE(socket.bindAndListen());
    EXPECT_EQ(owner(), 0U);
}

// Whose mode, 0755, then keeps root from finding out whether anybody listens.
TEST_F(SocketPathTest, ReplacesASocketOfAnOrdinaryUserWithTheCapabilitiesOfTheUnit) {
    if (::geteuid() != 0) {
        GTEST_SKIP() << "only root becomes another user";
    }
    for (const bool listens : {true, false}) {
        const OtherUser user(*this, listens);
        ASSERT_EQ(owner(), nobody);
        withCapabilitiesOfTheUnit([&] {
            SocketPath socket(path(), places());
            EXPECT_TRUE(socket.bindAndListen()) << listens;
            EXPECT_EQ(owner(), 0U);
            EXPECT_TRUE(isConnectable());
        });
        EXPECT_FALSE(exists());
    }
}

TEST_F(SocketPathTest, LeavesASocketOfItsOwnUserAloneThatItMayNotConnectTo) {
    const UniqueFd closed = bindOnly();
    ASSERT_EQ(::chmod(path().c_str(), 0), 0);
    withCapabilitiesOfTheUnit([&] { EXPECT_FALSE(SocketPath(path(), places()).bindAndListen()); });
    EXPECT_TRUE(exists());
}

TEST_F(SocketPathTest, WaitsForAnotherThatBinds) {
    ASSERT_EQ(::mkdir(scratch_.path("lock").c_str(), 0700), 0);
    UniqueFd held(
        ::open(scratch_.path("lock/socket.lock").c_str(), O_RDWR | O_CREAT | O_CLOEXEC, 0600));
    ASSERT_EQ(::flock(held.get(), LOCK_EX), 0);
    // Bound and not yet listening: looks stale, but for the lock.
    UniqueFd starting = bindOnly();
    std::atomic<bool> done{false};
    bool bound = true;
    std::thread late([&] {
        bound = SocketPath(path(), places()).bindAndListen();
        done = true;
    });
    std::this_thread::sleep_for(std::chrono::milliseconds(100));
    EXPECT_FALSE(done);
    ASSERT_EQ(::listen(starting.get(), 5), 0);
    held.reset();
    late.join();
    EXPECT_FALSE(bound);
    EXPECT_TRUE(isConnectable());
}

TEST_F(SocketPathTest, WorksWhereNoLockCanBeMade) {
    SocketPlaces none = places();
    none.lockDirectory = scratch_.write("plainfile", "") + "/below";
    SocketPath socket(path(), none);
    EXPECT_TRUE(socket.bindAndListen());
}

TEST(GroupFile, FindsTheNumber) {
    EXPECT_EQ(groupNumber("root:x:0:\nkoraha:x:998:a,b\n", "koraha"), 998U);
    EXPECT_EQ(groupNumber("koraha:x:998", "koraha"), 998U);
    EXPECT_EQ(groupNumber("korahax:x:1:\nxkoraha:x:2:\n", "koraha"), std::nullopt);
    EXPECT_EQ(groupNumber("koraha:x:-1:\nkoraha:x:5:\n", "koraha"), 5U);
    EXPECT_EQ(groupNumber("koraha:x:4294967295:\n", "koraha"), std::nullopt);
    EXPECT_EQ(groupNumber("koraha\nkoraha:\nkoraha:x\nkoraha:x::\n", "koraha"), std::nullopt);
    EXPECT_EQ(groupNumber("", "koraha"), std::nullopt);
    EXPECT_EQ(readGroupNumber("/nonexistent/group", "koraha"), std::nullopt);
}

}  // namespace
}  // namespace KORA::HA::Daemon::support
