// SPDX-License-Identifier: Apache-2.0
// The least that a server of one reply per request can do: what arrives is taken for a request, and
// a fixed reply goes back.
//
//   echo_server one PATH BYTES    one client at a time: accept, then receive and send till it
//   leaves echo_server many PATH BYTES   any number of clients, one thread and poll
#include <poll.h>
#include <unistd.h>

#include <array>
#include <string>
#include <string_view>

#include "bench/programs/measured.h"
#include "bench/programs/unix_address.h"

namespace {

std::array<char, 4096> request;

bool answer(int fd, const std::string& reply) {
    return ::recv(fd, request.data(), request.size(), 0) > 0 &&
           ::send(fd, reply.data(), reply.size(), MSG_NOSIGNAL) > 0;
}

[[noreturn]] void serveOne(int listener, const std::string& reply) {
    for (;;) {
        const int fd = ::accept4(listener, nullptr, nullptr, SOCK_CLOEXEC);
        bench::need(fd >= 0, "accept");
        while (answer(fd, reply)) {
        }
        ::close(fd);
    }
}

[[noreturn]] void serveMany(int listener, const std::string& reply) {
    std::vector<pollfd> fds{{listener, POLLIN, 0}};
    for (;;) {
        bench::need(::poll(fds.data(), fds.size(), -1) > 0, "poll");
        for (std::size_t i = fds.size() - 1; i > 0; --i) {
            if (fds[i].revents != 0 && !answer(fds[i].fd, reply)) {
                ::close(fds[i].fd);
                fds.erase(fds.begin() + static_cast<std::ptrdiff_t>(i));
            }
        }
        if (fds[0].revents != 0) {
            fds.push_back({::accept4(listener, nullptr, nullptr, SOCK_CLOEXEC), POLLIN, 0});
        }
    }
}

}  // namespace

int main(int argc, char** argv) {
    const std::string_view mode = argc == 4 ? argv[1] : "";
    if (mode != "one" && mode != "many") {
        std::fprintf(stderr, "Usage: echo_server one|many PATH BYTES\n");
        return 2;
    }
    std::string reply(static_cast<std::size_t>(bench::number(argv[3]) - 1), 'x');
    reply += '\n';
    const bench::UnixAddress address(argv[2]);
    const int listener = ::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
    bench::need(listener >= 0, "socket");
    ::unlink(argv[2]);
    bench::need(::bind(listener, address.get(), bench::UnixAddress::size()) == 0, argv[2]);
    bench::need(::listen(listener, 64) == 0, "listen");
    if (mode == "one") {
        serveOne(listener, reply);
    }
    serveMany(listener, reply);
}
