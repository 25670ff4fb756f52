// SPDX-License-Identifier: Apache-2.0
#include "hasupport/exec.h"

#include <fcntl.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <chrono>
#include <csignal>
#include <cstdlib>
#include <thread>
#include <vector>

#include "hasupport/core/exec_options.h"
#include "hasupport/core/run_program.h"
#include "tests/support/scratch_dir.h"

namespace {

using koraha::test::ScratchDir;
using namespace std::chrono_literals;
using KORA::HA::Daemon::support::execAllOptions;
using KORA::HA::Daemon::support::execOwnGroup;
using KORA::HA::Daemon::support::execWait;
using KORA::HA::Daemon::support::runProgram;
using ::testing::HasSubstr;
using ::testing::Not;

constexpr int everything = 187;
constexpr unsigned long cLibraryOwnSignals = 3UL << 31U;  // 32 and 33, which it lets nobody touch

class Exec : public ::testing::Test {
  protected:
    std::string script(const std::string& body) const {
        return dir_.write("tool", "#!/bin/sh\n" + body, 0755);
    }
    /// What the script wrote with `> $0.out`.
    std::string output() const { return dir_.read("tool.out"); }

    static int run(const std::string& path, std::chrono::milliseconds limit,
                   unsigned options = execAllOptions) {
        std::string name = path;
        const std::array<char*, 2> arguments{name.data(), nullptr};
        return runProgram(path.c_str(), options, arguments.data(), {limit, 10s});
    }

    /// True when the process is gone, or only its parent's wait is missing.
    static bool endsSoon(pid_t pid) {
        for (const auto end = std::chrono::steady_clock::now() + 10s;
             std::chrono::steady_clock::now() < end; std::this_thread::sleep_for(5ms)) {
            if (::kill(pid, 0) != 0 || stateOf(pid) == 'Z') {
                return true;
            }
        }
        return false;
    }

    static char stateOf(pid_t pid) {
        std::ifstream stat("/proc/" + std::to_string(pid) + "/stat");
        std::string text{std::istreambuf_iterator<char>(stat), std::istreambuf_iterator<char>()};
        const auto close = text.rfind(')');
        return close == std::string::npos ? 'Z' : text.at(close + 2);
    }

    ScratchDir dir_;
};

TEST_F(Exec, GivesTheExitStatus) {
    EXPECT_EQ(VLIBCExecl(script("exit 0").c_str(), everything, nullptr), 0);
    EXPECT_EQ(VLIBCExecl(script("exit 7").c_str(), everything, nullptr), 7);
}

TEST_F(Exec, PassesPathAndArgumentsAsTheyStand) {
    const std::string path = script(R"(for a in "$0" "$@"; do echo "<$a>"; done > "$0.out")");
    ASSERT_EQ(VLIBCExecl(path.c_str(), everything, "--notify", "two words; $(id)", "", nullptr), 0);
    EXPECT_EQ(output(), "<" + path + ">\n<--notify>\n<two words; $(id)>\n<>\n");
}

TEST_F(Exec, TellsASignalAs128AndItsNumber) {
    EXPECT_EQ(VLIBCExecl(script("kill -TERM $$").c_str(), everything, nullptr), 128 + SIGTERM);
}

TEST_F(Exec, AMissingFileCannotBeRun) {
    EXPECT_EQ(VLIBCExecl(dir_.path("none").c_str(), everything, nullptr), -1);
    EXPECT_EQ(errno, ENOENT);
}

TEST_F(Exec, AFileWithoutItsRunBitCannotBeRun) {
    const std::string path = dir_.write("plain", "#!/bin/sh\nexit 0\n", 0644);
    EXPECT_EQ(VLIBCExecl(path.c_str(), everything, nullptr), -1);
    EXPECT_EQ(errno, EACCES);
}

TEST_F(Exec, AScriptWithoutAnInterpreterLineCannotBeRun) {
    const std::string path = dir_.write("bare", "exit 0\n", 0755);
    EXPECT_EQ(VLIBCExecl(path.c_str(), everything, nullptr), -1);
    EXPECT_EQ(errno, ENOEXEC);
}

TEST_F(Exec, AMissingInterpreterAndADirectoryCannotBeRun) {
    const std::string path = dir_.write("lost", "#!/no/such/shell\n", 0755);
    EXPECT_EQ(VLIBCExecl(path.c_str(), everything, nullptr), -1);
    EXPECT_EQ(VLIBCExecl(dir_.path().c_str(), everything, nullptr), -1);
}

TEST_F(Exec, RefusesWhatItDoesNotUnderstand) {
    const std::string path = script("exit 0");
    EXPECT_EQ(VLIBCExecl(nullptr, everything, nullptr), -1);
    EXPECT_EQ(VLIBCExecl("", everything, nullptr), -1);
    EXPECT_EQ(VLIBCExecl(path.c_str(), everything & ~1, nullptr), -1);
    EXPECT_EQ(VLIBCExecl(path.c_str(), everything | 0x40, nullptr), -1);
    EXPECT_EQ(errno, EINVAL);
}

TEST_F(Exec, BoundsTheNumberOfArguments) {
    const std::string path = script("exit 0");
#define TEN_ARGUMENTS "0", "1", "2", "3", "4", "5", "6", "7", "8", "9"
#define SIXTY_ARGUMENTS \
    TEN_ARGUMENTS, TEN_ARGUMENTS, TEN_ARGUMENTS, TEN_ARGUMENTS, TEN_ARGUMENTS, TEN_ARGUMENTS
    EXPECT_EQ(VLIBCExecl(path.c_str(), everything, SIXTY_ARGUMENTS, "1", "2", "3", "4", nullptr),
              0);
    EXPECT_EQ(
        VLIBCExecl(path.c_str(), everything, SIXTY_ARGUMENTS, "1", "2", "3", "4", "5", nullptr),
        -1);
    EXPECT_EQ(errno, E2BIG);
}

TEST_F(Exec, GivesASmallFixedEnvironment) {
    ::setenv("LD_PRELOAD_TEST", "x", 1);
    ::setenv("SECRET", "y", 1);
    ASSERT_EQ(run(script("exec /usr/bin/env > \"$0.out\""), 30s), 0);
    EXPECT_THAT(output(), HasSubstr("PATH=/usr/local/sbin:"));
    EXPECT_THAT(output(), HasSubstr("LC_ALL=C\n"));
    EXPECT_THAT(output(), Not(HasSubstr("LD_")));
    EXPECT_THAT(output(), Not(HasSubstr("SECRET")));
    ::unsetenv("LD_PRELOAD_TEST");
    ::unsetenv("SECRET");
}

TEST_F(Exec, PassesOnNoDescriptorAndNullStreams) {
    const int extra = ::open("/dev/zero", O_RDONLY);  // on purpose without close-on-exec
    const int high = ::fcntl(extra, F_DUPFD, 200);
    ASSERT_EQ(run(script("ls -l /proc/$$/fd > \"$0.out\""), 30s), 0);
    const std::string listing = output();
    EXPECT_THAT(listing, HasSubstr("0 -> /dev/null"));
    EXPECT_THAT(listing, HasSubstr("1 -> /dev/null"));
    EXPECT_THAT(listing, HasSubstr("2 -> /dev/null"));
    EXPECT_THAT(listing, Not(HasSubstr("/dev/zero")));
    ::close(extra);
    ::close(high);
}

TEST_F(Exec, WorksWithoutStandardStreamsOfItsOwn) {
    const std::string path = script("ls -l /proc/$$/fd > \"$0.out\"");
    const pid_t child = ::fork();
    if (child == 0) {
        ::close(STDIN_FILENO);
        ::close(STDOUT_FILENO);
        ::close(STDERR_FILENO);
        ::_exit(run(path, 30s) == 0 ? 0 : 1);
    }
    int status = -1;
    ASSERT_EQ(::waitpid(child, &status, 0), child);
    EXPECT_EQ(status, 0);
    EXPECT_THAT(output(), HasSubstr("2 -> /dev/null"));
}

TEST_F(Exec, StartsWithDefaultSignalsAndAGroupOfItsOwn) {
    std::signal(SIGUSR1, SIG_IGN);
    sigset_t set;
    ::sigemptyset(&set);
    ::sigaddset(&set, SIGUSR2);
    ::pthread_sigmask(SIG_BLOCK, &set, nullptr);
    // The shell is replaced, as it blocks signals of its own around starting another program.
    const std::string path = script("exec cat /proc/self/status /proc/self/stat > \"$0.out\"");
    EXPECT_EQ(run(path, 30s), 0);
    ::pthread_sigmask(SIG_UNBLOCK, &set, nullptr);
    std::signal(SIGUSR1, SIG_DFL);
    const std::string text = output();
    EXPECT_THAT(text, HasSubstr("SigBlk:\t0000000000000000\n"));
    unsigned long ignored = ~0UL;
    ASSERT_EQ(std::sscanf(text.c_str() + text.find("SigIgn:"), "SigIgn: %lx", &ignored), 1);
    EXPECT_EQ(ignored & ~cLibraryOwnSignals, 0U);
    const auto name = text.find(" (cat) ");
    ASSERT_NE(name, std::string::npos);
    int parent = 0;
    int group = -1;
    ASSERT_EQ(std::sscanf(text.c_str() + name, " (cat) %*c %d %d", &parent, &group), 2);
    EXPECT_EQ(parent, ::getpid());
    EXPECT_NE(group, ::getpgrp());
    EXPECT_EQ(text.compare(text.rfind('\n', name) + 1, name - text.rfind('\n', name) - 1,
                           std::to_string(group)),
              0)
        << "the program leads its group";
}

TEST_F(Exec, EndsAHangingProgramWithItsWholeGroup) {
    const std::string path =
        script("sleep 1000 & echo $! > \"$0.out\"; trap '' TERM; while :; do sleep 1000; done");
    const auto start = std::chrono::steady_clock::now();
    EXPECT_EQ(run(path, 500ms), -1);
    EXPECT_EQ(errno, ETIMEDOUT);
    EXPECT_GE(std::chrono::steady_clock::now() - start, 500ms);
    const pid_t grandchild = std::atoi(output().c_str());
    ASSERT_GT(grandchild, 0) << "the script did not get as far within its time";
    EXPECT_TRUE(endsSoon(grandchild));
    EXPECT_EQ(::waitpid(-1, nullptr, WNOHANG), -1) << "a child was left unwaited for";
}

TEST_F(Exec, WaitsForItsOwnChildOnly) {
    const pid_t other = ::fork();
    if (other == 0) {
        ::_exit(42);
    }
    EXPECT_EQ(run(script("exit 3"), 30s), 3);
    int status = 0;
    ASSERT_EQ(::waitpid(other, &status, 0), other);
    EXPECT_EQ(WEXITSTATUS(status), 42);
}

TEST_F(Exec, GivesTheStatusWhenTheLauncherLeftSigchldIgnored) {
    std::signal(SIGCHLD, SIG_IGN);
    EXPECT_EQ(run(script("exit 0"), 30s), 0);
    std::signal(SIGCHLD, SIG_IGN);
    EXPECT_EQ(run(script("exit 9"), 30s), 9);
    struct sigaction action {};
    action.sa_handler = SIG_DFL;
    action.sa_flags = SA_NOCLDWAIT;
    ::sigaction(SIGCHLD, &action, nullptr);
    EXPECT_EQ(run(script("exit 4"), 30s), 4);
    std::signal(SIGCHLD, SIG_DFL);
}

TEST_F(Exec, WorksFromSeveralSmallThreadsAtOnce) {
    const std::string path = script("exit \"$1\"");
    struct Job {
        std::string path;
        int result = -1;
    };
    std::array<Job, 4> jobs{};
    std::array<pthread_t, 4> threads{};
    pthread_attr_t attributes;
    ::pthread_attr_init(&attributes);
#ifdef KORAHA_ROUTINE_STACK_BYTES
    ::pthread_attr_setstacksize(&attributes, KORAHA_ROUTINE_STACK_BYTES);
#else
    ::pthread_attr_setstacksize(&attributes, 80 * 1024);
#endif
    for (std::size_t at = 0; at < jobs.size(); ++at) {
        jobs.at(at).path = path;
        ASSERT_EQ(::pthread_create(
                      &threads.at(at), &attributes,
                      [](void* given) -> void* {
                          auto* const job = static_cast<Job*>(given);
                          job->result = VLIBCExecl(job->path.c_str(), everything, "5", nullptr);
                          return nullptr;
                      },
                      &jobs.at(at)),
                  0);
    }
    for (std::size_t at = 0; at < jobs.size(); ++at) {
        ::pthread_join(threads.at(at), nullptr);
        EXPECT_EQ(jobs.at(at).result, 5);
    }
    ::pthread_attr_destroy(&attributes);
}

TEST_F(Exec, RunsWhileNoDescriptorIsFree) {
    const std::string path = script("exit 6");
    std::vector<int> taken;
    for (int fd = ::open("/dev/null", O_RDONLY); fd >= 0; fd = ::open("/dev/null", O_RDONLY)) {
        taken.push_back(fd);
    }
    const int result = run(path, 30s);
    for (const int fd : taken) {
        ::close(fd);
    }
    EXPECT_EQ(result, 6);
}

TEST_F(Exec, KeepsTheEnvironmentWhenNotAskedToReplaceIt) {
    ::setenv("KORAHA_TEST_MARK", "seen", 1);
    EXPECT_EQ(run(script("test \"$KORAHA_TEST_MARK\" = seen"), 30s, execWait | execOwnGroup), 0);
    ::unsetenv("KORAHA_TEST_MARK");
}

}  // namespace
