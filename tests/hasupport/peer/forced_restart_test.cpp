// SPDX-License-Identifier: Apache-2.0
#include "hasupport/peer/forced_restart.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <poll.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <chrono>
#include <csignal>
#include <fstream>
#include <string>

#include "tests/support/scratch_dir.h"

namespace KORA::HA::Daemon::support {
namespace {

using Clock = std::chrono::steady_clock;

// Shutting down is one of these here, and the trigger a pipe of the test: nothing restarts.
std::string marker;  // NOLINT: a plain function has nowhere else to find it

void waitForADisk() {
    ::sleep(5);
}

void shutDown() {
    const int fd = ::open(marker.c_str(), O_WRONLY | O_CREAT | O_CLOEXEC, 0600);
    ::close(fd);
}

class ForcedRestartTest : public testing::Test {
  protected:
    void SetUp() override {
        marker = scratch_.path("down");
        ASSERT_EQ(::mkfifo(trigger_.c_str(), 0600), 0);
        reader_ = ::open(trigger_.c_str(), O_RDONLY | O_NONBLOCK | O_CLOEXEC);
        ASSERT_GE(reader_, 0);
    }
    void TearDown() override { ::close(reader_); }

    /// What is written to the trigger within a generous time.
    std::string triggered() const {
        pollfd waiting{reader_, POLLIN, 0};
        char letter = 0;
        if (::poll(&waiting, 1, 60'000) == 1 && ::read(reader_, &letter, 1) == 1) {
            return {letter};
        }
        return {};
    }

    koraha::test::ScratchDir scratch_;
    const std::string trigger_ = scratch_.path("trigger");
    int reader_ = -1;
};

TEST_F(ForcedRestartTest, GoesOnWhereShuttingDownHangs) {
    const auto began = Clock::now();
    ASSERT_TRUE(startForcedRestart({0, 1, waitForADisk, trigger_.c_str()}));
    EXPECT_EQ(triggered(), "b");
    EXPECT_GE(Clock::now() - began, std::chrono::seconds(1));
}

TEST_F(ForcedRestartTest, ShutsDownFirst) {
    ASSERT_TRUE(startForcedRestart({0, 2, shutDown, trigger_.c_str()}));
    EXPECT_EQ(triggered(), "b");
    EXPECT_EQ(::access(marker.c_str(), F_OK), 0);
}

TEST_F(ForcedRestartTest, LeavesTimeForTheOrderlyRestart) {
    const auto began = Clock::now();
    ASSERT_TRUE(startForcedRestart({1, 0, shutDown, trigger_.c_str()}));
    EXPECT_EQ(triggered(), "b");
    EXPECT_GE(Clock::now() - began, std::chrono::seconds(1));
}

TEST_F(ForcedRestartTest, EndsWhenCancelled) {
    const UniqueFd handle = startForcedRestart({3600, 0, shutDown, trigger_.c_str()});
    ASSERT_TRUE(handle);
    cancelForcedRestart(handle);
    pollfd waiting{handle.get(), POLLIN, 0};
    ASSERT_EQ(::poll(&waiting, 1, 60'000), 1) << "its process is gone";
    EXPECT_NE(::access(marker.c_str(), F_OK), 0);
    char letter = 0;
    EXPECT_LE(::read(reader_, &letter, 1), 0) << "nothing was triggered";
}

TEST_F(ForcedRestartTest, CanBeCancelledWhereALauncherLeftChildrenIgnored) {
    std::signal(SIGCHLD, SIG_IGN);
    const UniqueFd handle = startForcedRestart({3600, 0, shutDown, trigger_.c_str()});
    std::signal(SIGCHLD, SIG_DFL);
    ASSERT_TRUE(handle) << "it is armed, and nobody could disarm it";
    cancelForcedRestart(handle);
    pollfd waiting{handle.get(), POLLIN, 0};
    ASSERT_EQ(::poll(&waiting, 1, 60'000), 1) << "its process is gone";
    EXPECT_NE(::access(marker.c_str(), F_OK), 0);
}

TEST_F(ForcedRestartTest, IsNotArmedWhereNoProcessCanBeMade) {
    const pid_t child = ::fork();
    if (child == 0) {
        // As somebody else: the limit does not hold for root.
        const rlimit none{0, 0};
        const bool set =
            ::setgid(65534) == 0 && ::setuid(65534) == 0 && ::setrlimit(RLIMIT_NPROC, &none) == 0;
        const bool armed =
            static_cast<bool>(startForcedRestart({3600, 0, shutDown, trigger_.c_str()}));
        ::_exit(set && !armed ? 0 : 1);
    }
    int status = 1;
    ASSERT_EQ(::waitpid(child, &status, 0), child);
    EXPECT_EQ(status, 0);
}

TEST_F(ForcedRestartTest, OutlivesItsHandle) {
    startForcedRestart({1, 0, shutDown, trigger_.c_str()}).reset();
    EXPECT_EQ(triggered(), "b");
}

// Shutting down is asked how the process that it runs in is called.
void noteOwnName() {
    std::ofstream(marker) << std::ifstream("/proc/self/cmdline").rdbuf();
}

TEST_F(ForcedRestartTest, IsNamedLikeWhatAShutdownDoesNotKill) {
    ASSERT_TRUE(startForcedRestart({0, 2, noteOwnName, trigger_.c_str()}));
    EXPECT_EQ(triggered(), "b");
    std::string name;
    std::ifstream(marker) >> name;
    EXPECT_EQ(name.substr(0, 1), "@");
    EXPECT_NE(program_invocation_name[0], '@');
}

TEST_F(ForcedRestartTest, LeavesNothingToWaitFor) {
    ASSERT_TRUE(startForcedRestart({0, 0, shutDown, trigger_.c_str()}));
    EXPECT_EQ(::waitpid(-1, nullptr, WNOHANG), -1);
    EXPECT_EQ(errno, ECHILD);
    EXPECT_EQ(triggered(), "b");
}

}  // namespace
}  // namespace KORA::HA::Daemon::support
