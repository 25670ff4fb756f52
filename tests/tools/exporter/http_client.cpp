// SPDX-License-Identifier: Apache-2.0
#include "http_client.h"

#include <arpa/inet.h>
#include <netinet/in.h>
#include <poll.h>
#include <sys/socket.h>

#include <array>
#include <chrono>
#include <functional>

#include "tests/tools/status_server.h"

namespace koraha::test {
namespace {

using KORA::HA::Daemon::support::UniqueFd;

constexpr std::chrono::seconds patience{30};

std::string readWhile(int fd, const std::function<bool(const std::string&)>& goOn) {
    const auto end = std::chrono::steady_clock::now() + patience;
    std::string all;
    std::array<char, 4096> chunk{};
    while (goOn(all) && std::chrono::steady_clock::now() < end) {
        pollfd entry{fd, POLLIN, 0};
        if (::poll(&entry, 1, 1000) <= 0) {
            continue;
        }
        const ssize_t got = ::recv(fd, chunk.data(), chunk.size(), 0);
        if (got <= 0) {
            break;
        }
        all.append(chunk.data(), static_cast<std::size_t>(got));
    }
    return all;
}

}  // namespace

UniqueFd connectTo(int port) {
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_port = htons(static_cast<in_port_t>(port));
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    UniqueFd fd(::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0));
    if (::connect(fd.get(), reinterpret_cast<const sockaddr*>(&address), sizeof address) != 0) {
        fd.reset();
    }
    return fd;
}

std::string readToEnd(int fd) {
    return readWhile(fd, [](const std::string&) { return true; });
}

std::string readUntil(int fd, const std::string& text) {
    return readWhile(
        fd, [&text](const std::string& all) { return all.find(text) == std::string::npos; });
}

std::string exchange(int port, const std::string& bytes) {
    const UniqueFd fd = connectTo(port);
    say(fd.get(), bytes);
    return readToEnd(fd.get());
}

std::string get(const std::string& path, int port, const std::string& headers) {
    return "GET " + path + " HTTP/1.1\r\nHost: localhost:" + std::to_string(port) + "\r\n" +
           headers + "\r\n";
}

}  // namespace koraha::test
