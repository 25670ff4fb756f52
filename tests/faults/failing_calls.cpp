// SPDX-License-Identifier: Apache-2.0
#include "tests/faults/failing_calls.h"

#include <dlfcn.h>
#include <unistd.h>

#include <array>
#include <atomic>
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>

namespace {

/// How a function says that it failed.
enum class Says { negative, null, mapFailed, number };

struct Call {
    const char* name;
    Says says;
    bool movesBytes;  // as many as its third argument says
};

// Every function that stands here has its stand-in below.
// X(name, how it says that it failed, whether it moves bytes)
#define KORAHA_CALLS(X)                                        \
    X(accept4, negative, false)                                \
    X(access, negative, false)                                 \
    X(bind, negative, false)                                   \
    X(chmod, negative, false)                                  \
    X(close, negative, false)                                  \
    X(close_range, negative, false)                            \
    X(closedir, negative, false)                               \
    X(connect, negative, false)                                \
    X(dup2, negative, false)                                   \
    X(fallocate, negative, false)                              \
    X(fchmod, negative, false)                                 \
    X(fchown, negative, false)                                 \
    X(fchownat, negative, false)                               \
    X(fcntl, negative, false)                                  \
    X(fdatasync, negative, false)                              \
    X(flock, negative, false)                                  \
    X(fork, negative, false)                                   \
    X(fstat, negative, false)                                  \
    X(fstatat, negative, false)                                \
    X(fstatfs, negative, false)                                \
    X(fstatvfs, negative, false)                               \
    X(fsync, negative, false)                                  \
    X(ftruncate, negative, false)                              \
    X(getifaddrs, negative, false)                             \
    X(getrandom, negative, false)                              \
    X(getsockname, negative, false)                            \
    X(getsockopt, negative, false)                             \
    X(ioctl, negative, false)                                  \
    X(kill, negative, false)                                   \
    X(listen, negative, false)                                 \
    X(lseek, negative, false)                                  \
    X(lstat, negative, false)                                  \
    X(mkdir, negative, false)                                  \
    X(mkdirat, negative, false)                                \
    X(mmap, mapFailed, false)                                  \
    X(mremap, mapFailed, false)                                \
    X(msync, negative, false)                                  \
    X(munmap, negative, false)                                 \
    X(nanosleep, negative, false)                              \
    X(open, negative, false)                                   \
    X(openat, negative, false)                                 \
    X(opendir, null, false)                                    \
    X(pipe2, negative, false)                                  \
    X(poll, negative, false)                                   \
    X(posix_fallocate, number, false)                          \
    X(posix_spawn, number, false)                              \
    X(posix_spawn_file_actions_addclosefrom_np, number, false) \
    X(posix_spawn_file_actions_adddup2, number, false)         \
    X(posix_spawn_file_actions_addopen, number, false)         \
    X(posix_spawn_file_actions_init, number, false)            \
    X(posix_spawnattr_init, number, false)                     \
    X(posix_spawnattr_setflags, number, false)                 \
    X(posix_spawnattr_setpgroup, number, false)                \
    X(posix_spawnattr_setsigdefault, number, false)            \
    X(posix_spawnattr_setsigmask, number, false)               \
    X(pread, negative, true)                                   \
    X(pthread_create, number, false)                           \
    X(pwrite, negative, true)                                  \
    X(read, negative, true)                                    \
    X(readdir, null, false)                                    \
    X(readlink, negative, false)                               \
    X(realpath, null, false)                                   \
    X(reboot, negative, false)                                 \
    X(recv, negative, true)                                    \
    X(recvfrom, negative, true)                                \
    X(recvmsg, negative, false)                                \
    X(rename, negative, false)                                 \
    X(renameat, negative, false)                               \
    X(renameat2, negative, false)                              \
    X(send, negative, true)                                    \
    X(sendmsg, negative, false)                                \
    X(sendto, negative, true)                                  \
    X(setsid, negative, false)                                 \
    X(setsockopt, negative, false)                             \
    X(shutdown, negative, false)                               \
    X(sigaction, negative, false)                              \
    X(sigprocmask, negative, false)                            \
    X(socket, negative, false)                                 \
    X(socketpair, negative, false)                             \
    X(stat, negative, false)                                   \
    X(statfs, negative, false)                                 \
    X(statvfs, negative, false)                                \
    X(statx, negative, false)                                  \
    X(syscall, negative, false)                                \
    X(unlink, negative, false)                                 \
    X(unlinkat, negative, false)                               \
    X(waitid, negative, false)                                 \
    X(waitpid, negative, false)                                \
    X(write, negative, true)                                   \
    X(writev, negative, false)

enum Index : std::size_t {
#define KORAHA_INDEX(name, says, moves) index_##name,
    KORAHA_CALLS(KORAHA_INDEX)
#undef KORAHA_INDEX
        callCount
};

constexpr std::array<Call, callCount> calls{{
#define KORAHA_ROW(name, says, moves) {#name, Says::says, moves},
    KORAHA_CALLS(KORAHA_ROW)
#undef KORAHA_ROW
}};

using Function = long (*)(long, long, long, long, long, long, long);

constinit std::array<std::atomic<Function>, callCount> real{};
constinit std::array<std::atomic<unsigned>, callCount> counts{};
constinit std::atomic<std::size_t> failing{callCount};
constinit std::atomic<unsigned> failingNth{0};
constinit std::atomic<int> failingWith{0};

Function realOf(std::size_t index) {
    Function function = real[index];
    if (function == nullptr) {
        const int kept = errno;
        function = reinterpret_cast<Function>(::dlsym(RTLD_NEXT, calls[index].name));
        real[index] = function;
        errno = kept;
    }
    return function;
}

long failure(Says says, int error) {
    if (says == Says::number) {
        return error;
    }
    errno = error;
    return says == Says::null ? 0 : -1;  // MAP_FAILED is -1, too
}

/// Passes a call on, unless it is the one that is to fail. Every function gets seven words: on this
/// machine those that it does not take do no harm.
long pass(std::size_t index, long a, long b, long c, long d, long e, long f, long g) {
    const unsigned count = ++counts[index];
    const bool strikes = failing == index && count == failingNth;
    const int error = failingWith;
    if (strikes && error == koraha_short) {
        return realOf(index)(a, b, c > 0 ? 1 : c, d, e, f, g);
    }
    if (index == index_reboot) {
        return failure(Says::negative, EPERM);
    }
    if (strikes && (index == index_close || index == index_closedir)) {
        realOf(index)(a, b, c, d, e, f, g);  // the descriptor is gone all the same
    }
    return strikes ? failure(calls[index].says, error) : realOf(index)(a, b, c, d, e, f, g);
}

std::size_t indexOf(const char* name) {
    std::size_t index = 0;
    while (index < callCount && std::strcmp(calls[index].name, name) != 0) {
        ++index;
    }
    return index;
}

/// CALL:N:ERRNO
[[gnu::constructor]] void takeOrder() {
    const char* const order = std::getenv("KORAHA_FAIL");
    std::array<char, 64> name{};
    unsigned nth = 0;
    int error = 0;
    if (order != nullptr && std::sscanf(order, "%63[^:]:%u:%d", name.data(), &nth, &error) == 3) {
        koraha_fail_nth(name.data(), nth, error);
    }
}

}  // namespace

// The stand-ins, under the functions' own names; the headers' declarations do not matter here.
#define KORAHA_STAND_IN(name, says, moves)                                                   \
    extern "C" long koraha_call_##name(long, long, long, long, long, long, long) asm(#name); \
    long koraha_call_##name(long a, long b, long c, long d, long e, long f, long g) {        \
        return pass(index_##name, a, b, c, d, e, f, g);                                      \
    }
KORAHA_CALLS(KORAHA_STAND_IN)
#undef KORAHA_STAND_IN

bool koraha_fail_nth(const char* call, unsigned nth, int error) {
    const std::size_t index = indexOf(call);
    koraha_fail_none();
    for (auto& count : counts) {
        count = 0;
    }
    failingNth = nth;
    failingWith = error;
    failing = index;
    return index < callCount;
}

void koraha_fail_none() {
    failing = callCount;
}

unsigned koraha_calls(const char* call) {
    const std::size_t index = indexOf(call);
    return index < callCount ? counts[index].load() : 0;
}

const char* koraha_call_name(std::size_t index) {
    return index < callCount ? calls[index].name : nullptr;
}

bool koraha_call_moves_bytes(std::size_t index) {
    return index < callCount && calls[index].movesBytes;
}
