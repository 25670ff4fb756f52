// SPDX-License-Identifier: Apache-2.0
#include "tools/daemon_client.h"

#include <poll.h>
#include <sys/socket.h>
#include <sys/time.h>
#include <sys/un.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <chrono>
#include <cstdio>
#include <cstring>

namespace korahamonctl {
namespace {

constexpr std::size_t lineLimit = std::size_t{16} << 20U;

// A local socket whose queue is full makes a connecting client wait, without an end by itself.
bool limitWaiting(int fd, int timeoutMs) {
    const timeval limit{timeoutMs / 1000, timeoutMs % 1000 * 1000L};
    return ::setsockopt(fd, SOL_SOCKET, SO_SNDTIMEO, &limit, sizeof limit) == 0;
}

bool belongsToRoot(int fd) {
    ucred peer{};
    socklen_t size = sizeof peer;
    return ::getsockopt(fd, SOL_SOCKET, SO_PEERCRED, &peer, &size) == 0 && peer.uid == 0;
}

}  // namespace

std::string secondsText(int milliseconds) {
    std::array<char, 32> text{};
    std::snprintf(text.data(), text.size(), "%g s", milliseconds / 1000.0);
    return text.data();
}

DaemonClient::DaemonClient(const std::string& path, std::string& problem, int timeoutMs) {
    problem = open(path, timeoutMs);
}

DaemonClient::~DaemonClient() {
    if (fd_ >= 0) {
        ::close(fd_);
    }
}

std::string DaemonClient::open(const std::string& path, int timeoutMs) {
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    if (path.size() >= sizeof address.sun_path) {
        return "the socket's path is too long";
    }
    path.copy(address.sun_path, path.size());
    fd_ = ::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
    if (fd_ < 0 || !limitWaiting(fd_, timeoutMs) ||
        ::connect(fd_, reinterpret_cast<const sockaddr*>(&address), sizeof address) != 0) {
        if (errno == EAGAIN) {
            return "nobody was let in within " + secondsText(timeoutMs);
        }
        forbidden_ = errno == EACCES;
        return std::strerror(errno) +
               std::string(forbidden_ ? "; root and the group koraha may ask" : "");
    }
    return belongsToRoot(fd_) ? "" : "the server there is not root's, so it is not believed";
}

bool DaemonClient::send(const std::string& line) const {
    const std::string bytes = line + "\n";
    return ::send(fd_, bytes.data(), bytes.size(), MSG_NOSIGNAL) ==
           static_cast<ssize_t>(bytes.size());
}

std::optional<std::string> DaemonClient::receive(int timeoutMs) {
    using Clock = std::chrono::steady_clock;
    const auto end = Clock::now() + std::chrono::milliseconds(timeoutMs);
    for (;;) {
        if (auto line = nextLine()) {
            return line;
        }
        const auto left = std::chrono::ceil<std::chrono::milliseconds>(end - Clock::now()).count();
        pollfd waiting{fd_, POLLIN, 0};
        const int ready = left > 0 ? ::poll(&waiting, 1, static_cast<int>(left)) : 0;
        if (ready < 0 && errno == EINTR) {
            continue;
        }
        if (ready <= 0 || !takeWhatCame()) {
            return std::nullopt;
        }
    }
}

bool DaemonClient::takeWhatCame() {
    std::array<char, 4096> chunk{};
    for (;;) {
        const ssize_t got = ::recv(fd_, chunk.data(), chunk.size(), MSG_DONTWAIT);
        if (got > 0) {
            buffer_.append(chunk.data(), static_cast<std::size_t>(got));
            return buffer_.size() <= lineLimit;
        }
        if (got == 0 || errno != EINTR) {
            return got < 0 && errno == EAGAIN;
        }
    }
}

std::optional<std::string> DaemonClient::nextLine() {
    const auto newline = buffer_.find('\n', searched_);
    if (newline == std::string::npos) {
        searched_ = buffer_.size();
        return std::nullopt;
    }
    std::string line = buffer_.substr(0, newline);
    buffer_.erase(0, newline + 1);
    searched_ = 0;
    return line;
}

}  // namespace korahamonctl
