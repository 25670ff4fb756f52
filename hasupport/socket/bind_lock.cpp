// SPDX-License-Identifier: Apache-2.0
#include "hasupport/socket/bind_lock.h"

#include <fcntl.h>
#include <poll.h>
#include <sys/file.h>
#include <sys/stat.h>

#include <cerrno>
#include <cstring>

#include "hasupport/io/deadline.h"
#include "hasupport/io/notice.h"
#include "hasupport/io/open_file.h"

namespace KORA::HA::Daemon::support {
namespace {

constexpr std::chrono::seconds patience{5};
constexpr int retryMs = 20;

constinit Notice noLock;

}  // namespace

bool takeBindLock(const std::string& directory, UniqueFd& lock) {
    ::mkdir(directory.c_str(), S_IRWXU);  // mostly there already
    const std::string file = directory + "/socket.lock";
    lock = openFile(file, O_RDWR | O_CREAT | O_NOFOLLOW | O_NONBLOCK, S_IRUSR | S_IWUSR);
    if (!lock) {
        noLock.raise("cannot lock " + file + ": " + std::strerror(errno));
        return true;
    }
    noLock.clear();
    const auto deadline = Deadline::in(patience);
    while (::flock(lock.get(), LOCK_EX | LOCK_NB) != 0) {
        if (deadline.passed() || (errno != EWOULDBLOCK && errno != EINTR)) {
            return false;
        }
        ::poll(nullptr, 0, retryMs);
    }
    return true;
}

}  // namespace KORA::HA::Daemon::support
