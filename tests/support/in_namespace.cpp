#include "tests/support/in_namespace.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sched.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <cstring>

namespace koraha::test {
namespace {

bool enterNamespaces() {
    const int user = ::geteuid() == 0 ? 0 : CLONE_NEWUSER;
    if (::unshare(CLONE_NEWNET | user) != 0) {
        ADD_FAILURE() << "no network namespace to be had: " << std::strerror(errno);
        return false;
    }
    return true;
}

}  // namespace

void command(const std::string& line) {
    // NOLINTNEXTLINE(cert-env33-c): the tests' own fixed command lines
    EXPECT_EQ(std::system(line.c_str()), 0) << line;
}

void inOwnNetwork(const std::function<void()>& body) {
    const pid_t child = ::fork();
    ASSERT_GE(child, 0);
    if (child == 0) {
        if (enterNamespaces()) {
            command("ip link set lo up");
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
