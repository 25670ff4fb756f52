// SPDX-License-Identifier: Apache-2.0
// Kills a process that logs before and after each of its system calls in turn, so that no step of
// taking the buffer, writing or rotating is left out.
#include <gtest/gtest.h>
#include <sys/mman.h>
#include <sys/ptrace.h>
#include <sys/wait.h>
#include <unistd.h>

#include <atomic>
#include <csignal>
#include <iostream>
#include <sstream>
#include <string>
#include <vector>

#include "hasupport/daemon_log.h"
#include "hasupport/logfile/buffer_place.h"
#include "tests/support/scratch_dir.h"

namespace koraha::test {
namespace {

using KORA::HA::Daemon::DaemonLog;
using KORA::HA::Daemon::support::TEST_setBufferDirectory;

// Long lines: few of them fill several slabs, and more than one batch.
std::string line(int number) {
    return "line " + std::to_string(number) + std::string(1500, ' ') + "end";
}

class KillAtEachCall : public testing::Test {
  protected:
    void SetUp() override {
        void* const shared = ::mmap(nullptr, sizeof *returned_, PROT_READ | PROT_WRITE,
                                    MAP_SHARED | MAP_ANONYMOUS, -1, 0);
        ASSERT_NE(shared, MAP_FAILED);
        returned_ = new (shared) std::atomic<int>;
    }
    void TearDown() override { ::munmap(returned_, sizeof *returned_); }

    void logLines(DaemonLog& log, int count) {
        for (int i = 0; i < count; ++i) {
            log.set(line(*returned_ + 1));
            ++*returned_;
        }
    }

    // Takes the buffer with lines left in it; writes, rotates, writes over several slabs, rotates.
    [[noreturn]] void live(const ScratchDir& scratch) {
        ::ptrace(PTRACE_TRACEME, 0, nullptr, nullptr);
        ::raise(SIGSTOP);
        DaemonLog log(scratch.path("log"), "/test.log");
        logLines(log, 5);
        log.writeLogToDisk();
        log.rotate();
        logLines(log, 30);
        log.writeLogToDisk();
        log.rotate();
        logLines(log, 3);
        log.writeLogToDisk();
        logLines(log, 2);
        ::_exit(0);
    }

    /// Kills a life at its stop number `stops`; false when it ended before.
    bool liveAndDie(const ScratchDir& scratch, int stops) {
        const pid_t child = ::fork();
        EXPECT_GE(child, 0);
        if (child == 0) {
            live(scratch);
        }
        int status = 0;
        EXPECT_EQ(::waitpid(child, &status, 0), child);
        EXPECT_TRUE(WIFSTOPPED(status));
        for (int stop = 0; stop < stops; ++stop) {
            ::ptrace(PTRACE_SYSCALL, child, nullptr, nullptr);
            EXPECT_EQ(::waitpid(child, &status, 0), child);
            if (!WIFSTOPPED(status)) {
                EXPECT_TRUE(WIFEXITED(status));
                return false;
            }
        }
        ::kill(child, SIGKILL);
        EXPECT_EQ(::waitpid(child, &status, 0), child);
        EXPECT_TRUE(WIFSIGNALED(status));
        return true;
    }

    /// Every line whose `set` returned must be there once and in order, and at most the one that
    /// was being set besides.
    void check(const ScratchDir& scratch, int stops) const {
        DaemonLog next(scratch.path("log"), "/test.log");
        next.set("next");
        EXPECT_TRUE(next.writeLogToDisk());
        std::istringstream in(scratch.read("log/test.log.3") + scratch.read("log/test.log.2") +
                              scratch.read("log/test.log.1") + scratch.read("log/test.log"));
        int number = 1;
        std::string last;
        for (std::string each; std::getline(in, each) && each.size() > 28;) {
            last = each.substr(28);
            if (last != "next") {
                ASSERT_EQ(last, line(number)) << "killed at stop " << stops;
                ++number;
            }
        }
        EXPECT_EQ(last, "next");
        EXPECT_TRUE(number - 1 == *returned_ || number - 1 == *returned_ + 1)
            << number - 1 << " of " << *returned_ << " lines, killed at stop " << stops;
    }

    std::atomic<int>* returned_ = nullptr;
};

TEST_F(KillAtEachCall, LosesNoLineAndWritesNoneTwice) {
    int stops = 0;
    for (bool killed = true; killed && !HasFailure(); ++stops) {
        const ScratchDir scratch;
        TEST_setBufferDirectory(scratch.path("run"));
        *returned_ = 0;
        {
            DaemonLog earlier(scratch.path("log"), "/test.log");
            logLines(earlier, 2);  // left over for the life that is killed
        }
        killed = liveAndDie(scratch, stops);
        check(scratch, stops);
    }
    std::cout << "killed at " << stops - 1 << " stops\n";
    EXPECT_GT(stops, 100);
}

}  // namespace
}  // namespace koraha::test
