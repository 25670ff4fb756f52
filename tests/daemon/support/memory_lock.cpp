// SPDX-License-Identifier: Apache-2.0
#include "tests/daemon/support/memory_lock.h"

#include <sys/mman.h>

#include <cerrno>
#include <string>

#include "tests/scripted/script.h"

namespace {

int lockError = 0;

}  // namespace

namespace koraha::test {

void failMemoryLockWith(int error) {
    lockError = error;
}

}  // namespace koraha::test

extern "C" int mlockall(int flags) noexcept {
    script().note("mlockall " + std::to_string(flags));
    errno = lockError;
    return lockError == 0 ? 0 : -1;
}
