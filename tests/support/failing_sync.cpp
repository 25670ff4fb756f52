// SPDX-License-Identifier: Apache-2.0
#include "tests/support/failing_sync.h"

#include <sys/stat.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>

namespace koraha::test {
namespace {

constinit std::atomic<bool> fails{false};

bool isDirectory(int fd) {
    struct stat info {};
    return ::fstat(fd, &info) == 0 && S_ISDIR(info.st_mode);
}

}  // namespace

FailingDirectorySync::FailingDirectorySync() {
    fails = true;
}
FailingDirectorySync::~FailingDirectorySync() {
    fails = false;
}

}  // namespace koraha::test

// In place of the C library's.
extern "C" int fsync(int fd) {
    if (koraha::test::fails && koraha::test::isDirectory(fd)) {
        errno = EIO;
        return -1;
    }
    return static_cast<int>(::syscall(SYS_fsync, fd));
}
