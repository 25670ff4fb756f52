// SPDX-License-Identifier: Apache-2.0
#include "stream_client.h"

#include <arpa/inet.h>
#include <poll.h>
#include <sys/socket.h>

#include <array>
#include <cerrno>

namespace koraha::test {

using namespace KORA::HA::Daemon::support;  // NOLINT(google-build-using-namespace)

namespace {

constexpr int patienceMs = 20'000;
constexpr std::uint16_t port = 8909;

bool waitFor(int fd, short event, int timeoutMs) {
    pollfd entry{fd, event, 0};
    return ::poll(&entry, 1, timeoutMs) > 0;
}

sockaddr_in addressOf(const std::string& text, std::uint16_t withPort) {
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_port = htons(withPort);
    ::inet_pton(AF_INET, text.c_str(), &address.sin_addr);
    return address;
}

bool connectFrom(int fd, const StreamClient::From& from, const std::string& to, int timeoutMs) {
    ::setsockopt(fd, IPPROTO_IP, IP_TTL, &from.hops, sizeof from.hops);
    const sockaddr_in source = addressOf(from.address, 0);
    const sockaddr_in target = addressOf(to, port);
    if (::bind(fd, reinterpret_cast<const sockaddr*>(&source), sizeof source) != 0) {
        return false;
    }
    if (::connect(fd, reinterpret_cast<const sockaddr*>(&target), sizeof target) == 0) {
        return true;
    }
    int error = 0;
    socklen_t size = sizeof error;
    return errno == EINPROGRESS && waitFor(fd, POLLOUT, timeoutMs) &&
           ::getsockopt(fd, SOL_SOCKET, SO_ERROR, &error, &size) == 0 && error == 0;
}

}  // namespace

StreamClient::StreamClient(const From& from, const std::string& to,
                           std::chrono::milliseconds patience)
    : fd_(::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0)) {
    if (!fd_ || !connectFrom(fd_.get(), from, to, static_cast<int>(patience.count()))) {
        fd_.reset();
    }
}

bool StreamClient::send(const std::string& bytes) const {
    std::size_t sent = 0;
    while (sent < bytes.size()) {
        const ssize_t now =
            ::send(fd_.get(), bytes.data() + sent, bytes.size() - sent, MSG_NOSIGNAL);
        if (now > 0) {
            sent += static_cast<std::size_t>(now);
        } else if (errno != EAGAIN || !waitFor(fd_.get(), POLLOUT, patienceMs)) {
            return false;
        }
    }
    return true;
}

std::optional<Frame> StreamClient::receive() const {
    std::string received;
    std::array<char, 4096> chunk{};
    for (;;) {
        FrameScan scan = scanFrame(received);
        if (scan.state == FrameScan::State::complete) {
            return scan.frame;
        }
        if (!waitFor(fd_.get(), POLLIN, patienceMs)) {
            return std::nullopt;
        }
        const ssize_t got = ::recv(fd_.get(), chunk.data(), chunk.size(), 0);
        if (got <= 0) {
            return std::nullopt;
        }
        received.append(chunk.data(), static_cast<std::size_t>(got));
    }
}

bool StreamClient::isClosed() const {
    std::array<char, 4096> chunk{};
    for (;;) {
        if (!waitFor(fd_.get(), POLLIN, patienceMs)) {
            return false;
        }
        const ssize_t got = ::recv(fd_.get(), chunk.data(), chunk.size(), 0);
        if (got <= 0) {
            return got == 0 || errno == ECONNRESET;
        }
    }
}

}  // namespace koraha::test
