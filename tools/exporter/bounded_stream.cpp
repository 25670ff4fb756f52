// SPDX-License-Identifier: Apache-2.0
#include "tools/exporter/bounded_stream.h"

#include <arpa/inet.h>
#include <netinet/in.h>
#include <poll.h>
#include <sys/socket.h>

#include <algorithm>
#include <cerrno>
#include <cstring>

namespace korahamonctl {
namespace {

constexpr std::chrono::seconds requestTime{2};
constexpr std::chrono::seconds writeTime{5};
constexpr std::chrono::milliseconds farewellTime{200};
constexpr std::size_t requestLimit = 8192;

using AddressOf = int (*)(int, sockaddr*, socklen_t*);

void tellAddress(AddressOf ask, int fd, std::string& ip, int& port) {
    sockaddr_storage address{};
    socklen_t size = sizeof address;
    std::array<char, INET6_ADDRSTRLEN> text{};
    if (ask(fd, reinterpret_cast<sockaddr*>(&address), &size) != 0) {
        return;
    }
    if (address.ss_family == AF_INET) {
        const auto& v4 = reinterpret_cast<const sockaddr_in&>(address);
        ::inet_ntop(AF_INET, &v4.sin_addr, text.data(), text.size());
        port = ntohs(v4.sin_port);
    } else if (address.ss_family == AF_INET6) {
        const auto& v6 = reinterpret_cast<const sockaddr_in6&>(address);
        ::inet_ntop(AF_INET6, &v6.sin6_addr, text.data(), text.size());
        port = ntohs(v6.sin6_port);
    }
    ip = text.data();
}

}  // namespace

BoundedStream::BoundedStream(int fd) : fd_(fd), readBy_(Clock::now() + requestTime) {}

bool BoundedStream::awaits(int fd, short what, Clock::time_point end) {
    for (;;) {
        const auto left = std::chrono::ceil<std::chrono::milliseconds>(end - Clock::now()).count();
        pollfd entry{fd, what, 0};
        const int ready = ::poll(&entry, 1, static_cast<int>(std::max<long>(left, 0)));
        if (ready >= 0 || errno != EINTR) {
            return ready > 0 && (entry.revents & what) != 0;
        }
    }
}

bool BoundedStream::is_readable() const {
    return start_ < end_ || awaits(fd_, POLLIN, readBy_);
}

bool BoundedStream::is_writable() const {
    return awaits(fd_, POLLOUT, Clock::now() + writeTime);
}

bool BoundedStream::fill() {
    const std::size_t room = std::min(buffer_.size(), requestLimit - taken_);
    if (room == 0 || !awaits(fd_, POLLIN, readBy_)) {
        return false;
    }
    const ssize_t got = ::recv(fd_, buffer_.data(), room, MSG_DONTWAIT);
    start_ = 0;
    end_ = got > 0 ? static_cast<std::size_t>(got) : 0;
    taken_ += end_;
    return end_ > 0;
}

ssize_t BoundedStream::read(char* bytes, std::size_t size) {
    if (start_ == end_ && !fill()) {
        return -1;
    }
    const std::size_t given = std::min(size, end_ - start_);
    std::memcpy(bytes, buffer_.data() + start_, given);
    start_ += given;
    return static_cast<ssize_t>(given);
}

ssize_t BoundedStream::write(const char* bytes, std::size_t size) {
    const auto end = Clock::now() + writeTime;
    std::size_t sent = 0;
    while (sent < size) {
        if (!awaits(fd_, POLLOUT, end)) {
            return -1;
        }
        const ssize_t took = ::send(fd_, bytes + sent, size - sent, MSG_NOSIGNAL | MSG_DONTWAIT);
        if (took < 0 && errno != EAGAIN && errno != EINTR) {
            return -1;
        }
        sent += took > 0 ? static_cast<std::size_t>(took) : 0;
    }
    return static_cast<ssize_t>(size);
}

void BoundedStream::get_remote_ip_and_port(std::string& ip, int& port) const {
    tellAddress(::getpeername, fd_, ip, port);
}

void BoundedStream::get_local_ip_and_port(std::string& ip, int& port) const {
    tellAddress(::getsockname, fd_, ip, port);
}

void BoundedStream::finish() const {
    ::shutdown(fd_, SHUT_WR);
    const auto end = Clock::now() + farewellTime;
    std::array<char, 4096> ignored{};
    while (awaits(fd_, POLLIN, end) &&
           ::recv(fd_, ignored.data(), ignored.size(), MSG_DONTWAIT) > 0) {
    }
}

}  // namespace korahamonctl
