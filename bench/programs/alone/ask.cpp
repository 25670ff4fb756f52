// SPDX-License-Identifier: Apache-2.0
// Asks a line server again and again and tells how long an answer takes.
//
//   ask kept PATH COUNT              one connection
//   ask connect PATH COUNT           a connection for each request
//   ask crowd PATH CLIENTS SECONDS   many connections at once
#include <unistd.h>

#include <array>
#include <atomic>
#include <cstring>
#include <string_view>
#include <thread>

#include "bench/programs/measured.h"
#include "bench/programs/unix_address.h"

namespace {

using Clock = std::chrono::steady_clock;

constexpr std::string_view request = "{\"request\":\"status\"}\n";

int connected(const char* path) {
    const bench::UnixAddress address(path);
    const int fd = ::socket(AF_UNIX, SOCK_STREAM, 0);
    bench::need(fd >= 0, "socket");
    bench::need(::connect(fd, address.get(), bench::UnixAddress::size()) == 0, path);
    return fd;
}

void askOnce(int fd) {
    static thread_local std::array<char, 65536> reply;
    bench::need(::send(fd, request.data(), request.size(), MSG_NOSIGNAL) > 0, "send");
    for (;;) {
        const ssize_t got = ::recv(fd, reply.data(), reply.size(), 0);
        bench::need(got > 0, "recv");
        if (reply[static_cast<std::size_t>(got - 1)] == '\n') {
            return;
        }
    }
}

void kept(const char* path, int count) {
    bench::Times times(static_cast<std::size_t>(count));
    const int fd = connected(path);
    askOnce(fd);
    for (int i = 0; i < count; ++i) {
        const auto start = Clock::now();
        askOnce(fd);
        times.add(Clock::now() - start);
    }
    times.print();
}

void connecting(const char* path, int count) {
    bench::Times times(static_cast<std::size_t>(count));
    for (int i = 0; i < count; ++i) {
        const auto start = Clock::now();
        const int fd = connected(path);
        askOnce(fd);
        ::close(fd);
        times.add(Clock::now() - start);
    }
    times.print();
}

void crowd(const char* path, int clients, int seconds) {
    std::vector<long> asked(static_cast<std::size_t>(clients));
    std::atomic<bool> go = false;
    std::atomic<bool> over = false;
    std::vector<std::thread> threads;
    for (long& count : asked) {
        threads.emplace_back([&, path] {
            const int fd = connected(path);
            askOnce(fd);
            go.wait(false);
            while (!over.load(std::memory_order_relaxed)) {
                askOnce(fd);
                ++count;
            }
            ::close(fd);
        });
    }
    std::this_thread::sleep_for(std::chrono::milliseconds(200));
    go = true;
    go.notify_all();
    const auto start = Clock::now();
    std::this_thread::sleep_for(std::chrono::seconds(seconds));
    over = true;
    const std::chrono::duration<double> took = Clock::now() - start;
    for (auto& thread : threads) {
        thread.join();
    }
    long sum = 0;
    for (const long count : asked) {
        sum += count;
    }
    const double slowest = static_cast<double>(*std::min_element(asked.begin(), asked.end()));
    std::printf("{\"perSecond\":%.0f,\"slowestOfMean\":%.3f}\n",
                static_cast<double>(sum) / took.count(),
                slowest * clients / std::max(static_cast<double>(sum), 1.0));
}

}  // namespace

int main(int argc, char** argv) {
    const std::string_view mode = argc >= 4 ? argv[1] : "";
    if (mode == "kept") {
        kept(argv[2], bench::number(argv[3]));
    } else if (mode == "connect") {
        connecting(argv[2], bench::number(argv[3]));
    } else if (mode == "crowd" && argc == 5) {
        crowd(argv[2], bench::number(argv[3]), bench::number(argv[4]));
    } else {
        std::fprintf(stderr, "Usage: ask kept|connect PATH COUNT | crowd PATH CLIENTS SECONDS\n");
        return 2;
    }
    return 0;
}
