// SPDX-License-Identifier: Apache-2.0
#include "tests/support/covered_kernel.h"

#include <gtest/gtest.h>
#include <sched.h>
#include <sys/mount.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstring>

namespace koraha::test {
namespace {

bool cover(const std::string& by, const char* place) {
    return ::mount(by.c_str(), place, nullptr, MS_BIND | MS_REC, nullptr) == 0;
}

bool enter(const std::string& proc, const std::string& sys) {
    const int user = ::geteuid() == 0 ? 0 : CLONE_NEWUSER;
    const bool entered = ::unshare(CLONE_NEWNS | user) == 0 &&
                         ::mount(nullptr, "/", nullptr, MS_REC | MS_PRIVATE, nullptr) == 0 &&
                         cover(sys, "/sys") && cover(proc, "/proc");
    if (!entered) {
        ADD_FAILURE() << "no mount namespace to be had: " << std::strerror(errno);
    }
    return entered;
}

}  // namespace

void withKernelFiles(const std::string& proc, const std::string& sys,
                     const std::function<void()>& body) {
    const pid_t child = ::fork();
    ASSERT_GE(child, 0);
    if (child == 0) {
        if (enter(proc, sys)) {
            body();
        }
        std::fflush(nullptr);
        ::_exit(::testing::Test::HasFailure() ? 1 : 0);
    }
    int status = -1;
    while (::waitpid(child, &status, 0) < 0 && errno == EINTR) {
    }
    EXPECT_TRUE(WIFEXITED(status)) << "ended by signal " << WTERMSIG(status);
    EXPECT_EQ(WEXITSTATUS(status), 0) << "see the failures above";
}

}  // namespace koraha::test
