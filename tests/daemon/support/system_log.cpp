// SPDX-License-Identifier: Apache-2.0
#include "tests/daemon/support/system_log.h"

#include <gtest/gtest.h>
#include <sys/mount.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <syslog.h>
#include <unistd.h>

#include <array>
#include <cstring>

namespace koraha::test {
namespace {

// "<11>Nov  1 12:00:00 ident: text": the time is always 16 characters long.
std::string withoutTime(std::string message) {
    const auto start = message.find('>') + 1;
    return message.erase(start, 16);
}

}  // namespace

SystemLog::SystemLog() : socket_(::socket(AF_UNIX, SOCK_DGRAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0)) {
    EXPECT_EQ(0, ::mount("tmpfs", "/dev", "tmpfs", 0, "mode=0755"));
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    std::strncpy(address.sun_path, "/dev/log", sizeof(address.sun_path) - 1);
    EXPECT_EQ(0, ::bind(socket_, reinterpret_cast<sockaddr*>(&address), sizeof(address)));
    ::closelog();  // a connection of before leads elsewhere
}

SystemLog::~SystemLog() {
    ::close(socket_);
}

std::vector<std::string> SystemLog::messages() const {
    std::vector<std::string> all;
    std::array<char, 4096> buffer{};
    for (;;) {
        const ssize_t size = ::recv(socket_, buffer.data(), buffer.size(), 0);
        if (size < 0) {
            return all;
        }
        all.push_back(withoutTime({buffer.data(), static_cast<std::size_t>(size)}));
    }
}

}  // namespace koraha::test
