// SPDX-License-Identifier: Apache-2.0
#include "status_server.h"

#include <poll.h>
#include <sys/socket.h>
#include <sys/un.h>

#include <array>
#include <stdexcept>
#include <utility>

namespace koraha::test {
namespace {

using KORA::HA::Daemon::support::UniqueFd;

constexpr int stepMs = 20;
constexpr int patienceMs = 30'000;

bool readable(int fd, int timeoutMs) {
    pollfd entry{fd, POLLIN, 0};
    return ::poll(&entry, 1, timeoutMs) > 0;
}

}  // namespace

UniqueFd boundSocket(const std::string& path) {
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    path.copy(address.sun_path, sizeof address.sun_path - 1);
    UniqueFd fd(::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0));
    if (::bind(fd.get(), reinterpret_cast<const sockaddr*>(&address), sizeof address) != 0) {
        throw std::runtime_error("no socket at " + path);
    }
    return fd;
}

std::string requestOf(int client) {
    std::string line;
    char byte = 0;
    while (readable(client, patienceMs) && ::recv(client, &byte, 1, 0) == 1) {
        if (byte == '\n') {
            return line;
        }
        line += byte;
    }
    return {};
}

void say(int client, std::string_view bytes) {
    while (!bytes.empty()) {
        const ssize_t sent = ::send(client, bytes.data(), bytes.size(), MSG_NOSIGNAL);
        if (sent <= 0) {
            return;
        }
        bytes.remove_prefix(static_cast<std::size_t>(sent));
    }
}

void awaitLeave(int client) {
    std::array<char, 256> ignored{};
    while (readable(client, patienceMs) && ::recv(client, ignored.data(), ignored.size(), 0) > 0) {
    }
}

StatusServer::StatusServer(Behaviour behaviour)
    : behaviour_(std::move(behaviour)), listener_(boundSocket(path())) {
    if (::listen(listener_.get(), 8) != 0) {
        throw std::runtime_error("nobody can be let in");
    }
    thread_ = std::thread([this] { serve(); });
}

StatusServer::Behaviour StatusServer::saying(const std::string& line) {
    return [line](int client) {
        while (!requestOf(client).empty()) {
            say(client, line + "\n");
        }
    };
}

StatusServer::~StatusServer() {
    stop_ = true;
    thread_.join();
}

void StatusServer::serve() {
    while (!stop_) {
        if (!readable(listener_.get(), stepMs)) {
            continue;
        }
        const UniqueFd client(::accept4(listener_.get(), nullptr, nullptr, SOCK_CLOEXEC));
        if (client) {
            behaviour_(client.get());
        }
    }
}

}  // namespace koraha::test
