// SPDX-License-Identifier: Apache-2.0
#include "tests/support/in_namespace.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <linux/capability.h>
#include <pthread.h>
#include <sched.h>
#include <sys/mount.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fstream>

namespace koraha::test {
namespace {

// Makes an ordinary user the superuser of the namespace: without a name there it owns no files.
void nameUser(uid_t user, gid_t group) {
    std::ofstream("/proc/self/setgroups") << "deny";
    std::ofstream("/proc/self/uid_map") << "0 " << user << " 1";
    std::ofstream("/proc/self/gid_map") << "0 " << group << " 1";
}

bool enterNamespace(int kind) {
    const uid_t user = ::geteuid();
    const gid_t group = ::getegid();
    if (::unshare(kind | (user == 0 ? 0 : CLONE_NEWUSER)) != 0) {
        ADD_FAILURE() << "no namespace to be had: " << std::strerror(errno);
        return false;
    }
    if (user != 0) {
        nameUser(user, group);
    }
    return true;
}

void runInChild(const std::function<void()>& body) {
    const pid_t child = ::fork();
    ASSERT_GE(child, 0);
    if (child == 0) {
        body();
        (void)std::fflush(nullptr);
        ::_exit(::testing::Test::HasFailure() ? 1 : 0);
    }
    int status = -1;
    while (::waitpid(child, &status, 0) < 0 && errno == EINTR) {
    }
    EXPECT_TRUE(WIFEXITED(status)) << "ended by signal " << WTERMSIG(status);
    EXPECT_EQ(WEXITSTATUS(status), 0) << "see the failures above";
}

constexpr std::uint64_t capability(unsigned number) {
    return std::uint64_t{1} << number;
}

void keepCapabilities(std::uint64_t kept) {
    __user_cap_header_struct header{_LINUX_CAPABILITY_VERSION_3, 0};
    std::array<__user_cap_data_struct, 2> sets{};
    ASSERT_EQ(::syscall(SYS_capget, &header, sets.data()), 0);
    for (std::size_t half = 0; half < sets.size(); ++half) {
        const auto mask = static_cast<std::uint32_t>(kept >> (32 * half));
        sets[half].effective &= mask;
        sets[half].permitted &= mask;
    }
    ASSERT_EQ(::syscall(SYS_capset, &header, sets.data()), 0);
}

}  // namespace

void command(const std::string& line) {
    // NOLINTNEXTLINE(cert-env33-c): the tests' own fixed command lines
    EXPECT_EQ(std::system(line.c_str()), 0) << line;
}

void giveUpRawSockets() {
    keepCapabilities(~capability(CAP_NET_RAW));
}

void keepCapabilitiesOfTheUnit() {
    keepCapabilities(capability(CAP_NET_RAW) | capability(CAP_SYS_BOOT) |
                     capability(CAP_NET_ADMIN));
}

void onRoutineStack(const std::function<void()>& body) {
#ifdef KORAHA_ROUTINE_STACK_BYTES
    constexpr std::size_t stack = KORAHA_ROUTINE_STACK_BYTES;
#else
    constexpr std::size_t stack = std::size_t{80} * 1024;
#endif
    pthread_attr_t attributes;
    ::pthread_attr_init(&attributes);
    ASSERT_EQ(::pthread_attr_setstacksize(&attributes, stack), 0);
    pthread_t thread{};
    const auto run = [](void* given) -> void* {
        (*static_cast<const std::function<void()>*>(given))();
        return nullptr;
    };
    // NOLINTNEXTLINE(cppcoreguidelines-pro-type-const-cast): the body is only called
    ASSERT_EQ(
        ::pthread_create(&thread, &attributes, run, const_cast<std::function<void()>*>(&body)), 0);
    ::pthread_join(thread, nullptr);
    ::pthread_attr_destroy(&attributes);
}

void inOwnNetwork(const std::function<void()>& body) {
    runInChild([&body] {
        if (enterNamespace(CLONE_NEWNET)) {
            command("ip link set lo up");
            body();
        }
    });
}

void inOwnMounts(const std::function<void()>& body) {
    runInChild([&body] {
        if (enterNamespace(CLONE_NEWNS)) {
            EXPECT_EQ(::mount("none", "/", nullptr, MS_REC | MS_PRIVATE, nullptr), 0);
            body();
        }
    });
}

void inOwnRun(const std::function<void()>& body) {
    inOwnMounts([&body] {
        ASSERT_EQ(::mount("none", "/run", "tmpfs", 0, nullptr), 0) << std::strerror(errno);
        body();
    });
}

}  // namespace koraha::test
