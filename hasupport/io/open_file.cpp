// SPDX-License-Identifier: Apache-2.0
#include "hasupport/io/open_file.h"

#include <fcntl.h>

#include <cerrno>

namespace KORA::HA::Daemon::support {

UniqueFd openFile(const std::string& path, int flags, mode_t mode) {
    return openFileAt(AT_FDCWD, path.c_str(), flags, mode);
}

UniqueFd openFileAt(int directory, const char* path, int flags, mode_t mode) {
    int fd = -1;
    do {
        fd = ::openat(directory, path, flags | O_CLOEXEC, mode);
    } while (fd < 0 && errno == EINTR);
    return UniqueFd(fd);
}

}  // namespace KORA::HA::Daemon::support
