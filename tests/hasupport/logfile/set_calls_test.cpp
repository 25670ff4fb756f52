// SPDX-License-Identifier: Apache-2.0
// What `set` asks of the kernel: from a certain point on the kernel ends the process at any call
// that is not on a list, and nothing on the list can wait for a disk.
#include <linux/filter.h>
#include <linux/seccomp.h>
#include <sys/prctl.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

#include <csignal>
#include <cstddef>
#include <string>
#include <vector>

#include "hasupport/daemon_log.h"
#include "log_places.h"

// A sanitizer's runtime makes calls of its own.
#if !defined(__SANITIZE_ADDRESS__) && !defined(__SANITIZE_THREAD__)

namespace KORA::HA::Daemon {
namespace {

using Calls = std::vector<unsigned>;

bool allowOnly(const Calls& calls) {
    std::vector<sock_filter> filter{
        BPF_STMT(BPF_LD | BPF_W | BPF_ABS, offsetof(seccomp_data, nr)),
    };
    for (const unsigned call : calls) {
        filter.push_back(BPF_JUMP(BPF_JMP | BPF_JEQ | BPF_K, call, 0, 1));
        filter.push_back(BPF_STMT(BPF_RET | BPF_K, SECCOMP_RET_ALLOW));
    }
    filter.push_back(BPF_STMT(BPF_RET | BPF_K, SECCOMP_RET_KILL_PROCESS));
    const sock_fprog program{static_cast<unsigned short>(filter.size()), filter.data()};
    return ::prctl(PR_SET_NO_NEW_PRIVS, 1, 0, 0, 0) == 0 &&
           ::prctl(PR_SET_SECCOMP, SECCOMP_MODE_FILTER, &program) == 0;
}

class SetCalls : public koraha::test::LogPlaces {
  protected:
    /// How a process ends that logs so many lines, none of which is written, and may make no
    /// other calls than these and the one with which it ends.
    int statusAfter(int lines, Calls calls) const {
        calls.push_back(SYS_exit_group);
        const pid_t child = ::fork();
        if (child == 0) {
            DaemonLog log(logDirectory(), "/test.log");
            const std::string line(100, 'x');
            log.set(line);  // makes the buffer, which lies in memory
            if (!allowOnly(calls)) {
                ::_exit(2);
            }
            for (int count = 0; count < lines; ++count) {
                log.set(line);
            }
            ::_exit(0);
        }
        int status = -1;
        EXPECT_EQ(::waitpid(child, &status, 0), child);
        return status;
    }
};

TEST_F(SetCalls, AreNoneWhileTheBufferHasRoom) {
    EXPECT_EQ(statusAfter(300, {}), 0);
}

TEST_F(SetCalls, ConcernNothingButTheBufferInMemoryWhileTheDiskTakesNoLines) {
    // Ten times as much as the buffer may grow to. The status that it asks for is the buffer's own.
    EXPECT_EQ(statusAfter(400'000, {SYS_fallocate, SYS_mmap, SYS_munmap, SYS_brk, SYS_fstat,
                                    SYS_newfstatat}),
              0);
}

TEST_F(SetCalls, AreSeenByThisTest) {
    const int status = statusAfter(400'000, {});
    EXPECT_TRUE(WIFSIGNALED(status) && WTERMSIG(status) == SIGSYS) << status;
}

}  // namespace
}  // namespace KORA::HA::Daemon

#endif
