// SPDX-License-Identifier: Apache-2.0
// The daemon as a process of its own: the same objects over the scripted library, with the system's
// own sleep, memory lock and exit. Its status socket cannot be bound, so that it ends by itself.
#include <fcntl.h>
#include <gtest/gtest.h>
#include <linux/capability.h>
#include <sys/prctl.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <fstream>
#include <iterator>
#include <string>
#include <vector>

#include "tests/daemon/support/own_system.h"
#include "tests/daemon/support/system_log.h"

namespace {

using namespace koraha::test;

using Lines = std::vector<std::string>;

// Opened before anything of the test's own covers it.
const int program = ::open(KORAHA_SCRIPTED_DAEMON, O_RDONLY | O_CLOEXEC);

constexpr const char* errorFile = "/tmp/standard-error";

void mayLockNoMemory() {
    const rlimit nothing{0, 0};
    ::setrlimit(RLIMIT_MEMLOCK, &nothing);
    ::prctl(PR_CAPBSET_DROP, CAP_IPC_LOCK);  // else a superuser's program may lock all the same
}

// Runs the daemon to its end; its exit status, or -1 when it did not exit.
int run(
    const std::vector<std::string>& arguments, void (*prepare)() = [] {}) {
    const pid_t child = ::fork();
    if (child == 0) {
        std::vector<const char*> argv{"koraharemotemond"};
        for (const std::string& argument : arguments) {
            argv.push_back(argument.c_str());
        }
        argv.push_back(nullptr);
        const int file = ::open(errorFile, O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0600);
        ::dup2(file, STDERR_FILENO);
        prepare();
        std::array<char*, 1> noEnvironment{};
        ::fexecve(program, const_cast<char* const*>(argv.data()), noEnvironment.data());
        ::_exit(127);
    }
    int status = -1;
    while (::waitpid(child, &status, 0) < 0 && errno == EINTR) {
    }
    return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
}

std::string standardError() {
    std::ifstream file(errorFile);
    return {std::istreambuf_iterator<char>(file), {}};
}

TEST(ScriptedDaemon, usageBearsItsNameAndItExitsWithOne) {
    inOwnSystem([] {
        SystemLog systemLog;
        EXPECT_EQ(1, run({"10.0.0.1", "10.0.0.2"}));
        EXPECT_EQ("Usage: koraharemotemond <local_drbdip> <remote_drbdip> <drbdif>\n",
                  standardError());
        EXPECT_EQ(Lines{"<11>koraharemotemond: koraharemotemond:529 Bad parameter"},
                  systemLog.messages());
    });
}

TEST(ScriptedDaemon, brokenConfigurationExitsWithOne) {
    inOwnSystem([] {
        SystemLog systemLog;
        std::ofstream(configFile) << "{";
        touch(busyFlag);
        EXPECT_EQ(1, run({"10.0.0.1", "10.0.0.2", "eth1"}));
        EXPECT_EQ("Failed to load config file\n", standardError());
        EXPECT_EQ(Lines{"<11>koraharemotemond: koraharemotemond:535 Failed to load config file"},
                  systemLog.messages());
        EXPECT_TRUE(exists(busyFlag));
    });
}

TEST(ScriptedDaemon, runsUntilARoutineEndsThenExitsWithOneAlsoWithoutALockOnMemory) {
    inOwnSystem([] {
        SystemLog systemLog;
        std::ofstream(configFile) << R"({"BASE_INTERVAL_RECORD_ENV": 1, "BASE_INTERVAL_ACTIVE": 1,
            "BASE_INTERVAL_BUSY_FLAG": 1, "BASE_INTERVAL_PASSIVE": 1,
            "BASE_INTERVAL_LOG_WRITE": 1})";
        touch(busyFlag);
        EXPECT_EQ(1, run({"10.0.0.1", "10.0.0.2", "eth1"}, mayLockNoMemory));
        EXPECT_EQ("", standardError());
        EXPECT_FALSE(exists(busyFlag));
#ifdef KORAHA_ROUTINE_STACK_BYTES
        const Lines expected;  // sanitizers leave memory unlocked, and say that they locked it
#else
        const Lines expected = {
            "<11>koraharemotemond: koraharemotemond:547 Memory lock failed: Operation not "
            "permitted"};
#endif
        EXPECT_EQ(expected, systemLog.messages());
    });
}

}  // namespace
