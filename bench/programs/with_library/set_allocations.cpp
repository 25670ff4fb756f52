// SPDX-License-Identifier: Apache-2.0
// Sets so many lines, and tells how often memory was asked for meanwhile.
//
//   set_allocations DIRECTORY LINES
#include <atomic>
#include <cstddef>

#include "bench/programs/log_load.h"
#include "hasupport/daemon_log.h"

namespace {

std::atomic<long> asked = 0;

}  // namespace

// In the place of the C library's own, which every allocation in the process ends up with.
extern "C" {
void* __libc_malloc(std::size_t size);                     // NOLINT: the C library's name
void* __libc_calloc(std::size_t count, std::size_t size);  // NOLINT
void* __libc_realloc(void* old, std::size_t size);         // NOLINT

__attribute__((visibility("default"))) void* malloc(std::size_t size) {
    ++asked;
    return __libc_malloc(size);
}
__attribute__((visibility("default"))) void* calloc(std::size_t count, std::size_t size) {
    ++asked;
    return __libc_calloc(count, size);
}
__attribute__((visibility("default"))) void* realloc(void* old, std::size_t size) {
    ++asked;
    return __libc_realloc(old, size);
}
}

int main(int argc, char** argv) {
    if (argc != 3) {
        std::fprintf(stderr, "Usage: set_allocations DIRECTORY LINES\n");
        return 2;
    }
    KORA::HA::Daemon::DaemonLog log(argv[1], "/allocations.log");
    const std::string line = bench::message(7);
    log.set(line);
    const long before = asked;
    for (int i = 0; i < bench::number(argv[2]); ++i) {
        log.set(line);
    }
    std::printf("{\"allocations\":%ld}\n", asked - before);
    return 0;
}
