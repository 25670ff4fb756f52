// SPDX-License-Identifier: Apache-2.0
#include "hasupport/socket/socket_path.h"

#include <fcntl.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>

#include "hasupport/io/notice.h"
#include "hasupport/io/open_file.h"
#include "hasupport/socket/bind_lock.h"
#include "hasupport/socket/group_file.h"
#include "hasupport/socket/socket_occupant.h"

namespace KORA::HA::Daemon::support {
namespace {

using Kind = SocketOccupant::Kind;

constexpr mode_t fileMode = S_IRUSR | S_IWUSR | S_IRGRP | S_IWGRP;
constexpr int backlog = 128;
constexpr std::string_view groupName = "koraha";

constinit Notice bindFailure;

UniqueFd makeSocket() {
    return UniqueFd(::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0));
}

bool fail(const std::string& path, const std::string& why) {
    bindFailure.raise("cannot bind " + path + ": " + why);
    return false;
}

/// Makes room at the path where that is allowed.
bool makeRoom(const std::string& path, const sockaddr_un& address, uid_t trustedUser) {
    const SocketOccupant occupant = lookAtSocket(path, address);
    switch (occupant.kind) {
        case Kind::nothing:
            return true;
        case Kind::stale:
            break;
        case Kind::live:
            if (occupant.user == trustedUser) {
                return fail(path, "another server listens there");
            }
            notify("removing " + path + ": user " + std::to_string(occupant.user) +
                   " listens there");
            break;
        case Kind::closed:
            if (occupant.user == trustedUser) {
                return fail(path, "a socket is there that cannot be connected to");
            }
            notify("removing " + path + ": a socket of user " + std::to_string(occupant.user) +
                   ", which cannot be connected to");
            break;
        case Kind::foreign:
            return fail(path, "it is no socket, or cannot be looked at");
    }
    return ::unlink(path.c_str()) == 0 || errno == ENOENT || fail(path, std::strerror(errno));
}

/// Gives the bound file its group, then the mode that the process's umask may have cut down.
void setAccess(int file, const std::string& groupFile) {
    if (const auto group = readGroupNumber(groupFile, groupName)) {
        if (::fchownat(file, "", static_cast<uid_t>(-1), *group, AT_EMPTY_PATH) != 0) {
            notify(std::string("cannot give a socket its group: ") + std::strerror(errno));
        }
    }
    // A descriptor that only names a file takes no fchmod; its entry in /proc does.
    const std::string self = "/proc/self/fd/" + std::to_string(file);
    if (::chmod(self.c_str(), fileMode) != 0) {
        notify(std::string("cannot set the mode of a socket: ") + std::strerror(errno));
    }
}

}  // namespace

SocketPath::SocketPath(std::string path, SocketPlaces places)
    : path_(std::move(path)), places_(std::move(places)) {
    if (socketAddress(path_)) {
        fd_ = makeSocket();
    }
}

SocketPath::~SocketPath() {
    struct stat now {};
    if (bound_ && ::lstat(path_.c_str(), &now) == 0 && now.st_dev == device_ &&
        now.st_ino == inode_) {
        ::unlink(path_.c_str());
    }
}

bool SocketPath::isUsable() const {
    return static_cast<bool>(fd_);
}

bool SocketPath::bindAndListen() {
    UniqueFd lock;
    if (!takeBindLock(places_.lockDirectory, lock)) {
        return fail(path_, "another process holds the lock");
    }
    if (!bound_ && !bindLocked()) {
        fd_ = makeSocket();  // a socket that was bound cannot be bound again
        return false;
    }
    bindFailure.clear();
    return true;
}

bool SocketPath::bindLocked() {
    const auto address = socketAddress(path_);
    if (address && !fd_) {
        fd_ = makeSocket();  // there was none to be had the last time
    }
    if (!address || !fd_) {
        return fail(path_, "path too long or no socket to be had");
    }
    if (!makeRoom(path_, *address, places_.trustedUser)) {
        return false;
    }
    // The file takes over the mode that the socket has, so that it is never open to others.
    if (::fchmod(fd_.get(), fileMode) != 0 ||
        ::bind(fd_.get(), reinterpret_cast<const sockaddr*>(&*address), sizeof(*address)) != 0) {
        return fail(path_, std::strerror(errno));
    }
    if (!rememberFile()) {
        return fail(path_, "its file went away");
    }
    if (::listen(fd_.get(), backlog) != 0) {
        const int reason = errno;
        ::unlink(path_.c_str());
        return fail(path_, std::strerror(reason));
    }
    bound_ = true;
    return true;
}

bool SocketPath::rememberFile() {
    const UniqueFd file = openFile(path_, O_PATH | O_NOFOLLOW);
    struct stat made {};
    if (!file || ::fstat(file.get(), &made) != 0 || !S_ISSOCK(made.st_mode) ||
        made.st_uid != ::geteuid()) {
        return false;
    }
    device_ = made.st_dev;
    inode_ = made.st_ino;
    setAccess(file.get(), places_.groupFile);
    return true;
}

}  // namespace KORA::HA::Daemon::support
