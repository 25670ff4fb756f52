// SPDX-License-Identifier: Apache-2.0
#include "tests/support/during_fstat.h"

#include <sys/stat.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <atomic>
#include <utility>

namespace koraha::test {
namespace {

constinit std::atomic<bool> waits{false};

std::function<void()>& waiting() {
    static auto* const theOne = new std::function<void()>;
    return *theOne;
}

}  // namespace

void duringNextFstat(std::function<void()> work) {
    waiting() = std::move(work);
    waits = true;
}

}  // namespace koraha::test

// In place of the C library's.
extern "C" int fstat(int fd, struct stat* buf) noexcept {
    if (koraha::test::waits.exchange(false)) {
        koraha::test::waiting()();
    }
    return static_cast<int>(::syscall(SYS_fstat, fd, buf));
}
