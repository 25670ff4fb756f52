// SPDX-License-Identifier: Apache-2.0
#include "hasupport/socket/socket_occupant.h"

#include <sys/socket.h>
#include <sys/stat.h>

#include <cerrno>
#include <cstring>

#include "hasupport/io/unique_fd.h"

namespace KORA::HA::Daemon::support {
namespace {

using Kind = SocketOccupant::Kind;

int connectTo(int fd, const sockaddr_un& address) {
    int result = -1;
    do {
        result = ::connect(fd, reinterpret_cast<const sockaddr*>(&address), sizeof(address));
    } while (result != 0 && errno == EINTR);
    return result == 0 ? 0 : errno;
}

/// Who listens at the other end; `owner` of the file where the kernel does not tell.
uid_t listeningUser(int fd, uid_t owner) {
    ucred peer{};
    socklen_t length = sizeof(peer);
    const bool told = ::getsockopt(fd, SOL_SOCKET, SO_PEERCRED, &peer, &length) == 0;
    return told ? peer.uid : owner;
}

}  // namespace

std::optional<sockaddr_un> socketAddress(const std::string& path) {
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    const bool hasNul = path.find('\0') != std::string::npos;
    if (path.empty() || hasNul || path.size() >= sizeof(address.sun_path)) {
        return std::nullopt;
    }
    std::memcpy(&address.sun_path[0], path.data(), path.size());
    return address;
}

SocketOccupant lookAtSocket(const std::string& path, const sockaddr_un& address) {
    struct stat file {};
    if (::lstat(path.c_str(), &file) != 0) {
        return {errno == ENOENT ? Kind::nothing : Kind::foreign};
    }
    if (!S_ISSOCK(file.st_mode)) {
        return {Kind::foreign};
    }
    const UniqueFd probe(::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0));
    if (!probe) {
        return {Kind::foreign};
    }
    switch (connectTo(probe.get(), address)) {
        case 0:
            return {Kind::live, listeningUser(probe.get(), file.st_uid)};
        case ECONNREFUSED:
            return {Kind::stale};
        case ENOENT:
            return {Kind::nothing};
        case EAGAIN:      // someone listens, and many wait
        case EPROTOTYPE:  // a socket of another type is alive
            return {Kind::live, file.st_uid};
        case EACCES:  // without CAP_DAC_OVERRIDE the mode of another's file binds root, too
            return {Kind::closed, file.st_uid};
        default:
            return {Kind::foreign};
    }
}

}  // namespace KORA::HA::Daemon::support
