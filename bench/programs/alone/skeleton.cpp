// SPDX-License-Identifier: Apache-2.0
// What the daemon does at default intervals, with the least code: the same echoes, kernel files,
// exchanges with the peer and waits at the same paces. It understands nothing of what it reads,
// proves nothing to its peer, and keeps nothing but the records it writes.
//
//   skeleton LOCAL REMOTE INTERFACE STATUS_SOCKET RECORD_FILE
#include <arpa/inet.h>
#include <dirent.h>
#include <fcntl.h>
#include <netinet/in.h>
#include <netinet/ip_icmp.h>
#include <poll.h>
#include <sys/mman.h>
#include <sys/socket.h>
#include <sys/statfs.h>
#include <unistd.h>

#include <array>
#include <cctype>
#include <chrono>
#include <condition_variable>
#include <mutex>
#include <string>

#include "bench/programs/eight_threads.h"
#include "bench/programs/unix_address.h"

namespace {

constexpr unsigned checkSeconds = 15;
constexpr unsigned aliveSeconds = 5;
constexpr unsigned flushSeconds = 20;
constexpr unsigned recordSeconds = 60;
constexpr int waitMs = 5000;
constexpr std::uint16_t port = 8909;
// The bytes of the four messages of an exchange.
constexpr std::array<std::size_t, 4> messages{48, 48, 59, 240};

char** arguments = nullptr;
std::mutex recordMutex;
std::string record;

sockaddr_in address(const char* text, std::uint16_t number) {
    sockaddr_in made{};
    made.sin_family = AF_INET;
    made.sin_port = htons(number);
    ::inet_pton(AF_INET, text, &made.sin_addr);
    return made;
}

int linkSocket(int kind, int protocol, std::uint16_t number) {
    const int fd = ::socket(AF_INET, kind | SOCK_CLOEXEC, protocol);
    const std::string device = arguments[3];
    const sockaddr_in local = address(arguments[1], number);
    const int on = 1;
    ::setsockopt(fd, SOL_SOCKET, SO_REUSEADDR, &on, sizeof on);
    ::setsockopt(fd, SOL_SOCKET, SO_BINDTODEVICE, device.c_str(),
                 static_cast<socklen_t>(device.size() + 1));
    bench::need(::bind(fd, reinterpret_cast<const sockaddr*>(&local), sizeof local) == 0, "bind");
    return fd;
}

std::string readWhole(const std::string& path) {
    std::array<char, 16384> text;
    const int fd = ::open(path.c_str(), O_RDONLY | O_CLOEXEC);
    if (fd < 0) {
        return {};
    }
    const ssize_t got = ::read(fd, text.data(), text.size());
    ::close(fd);
    return std::string(text.data(), static_cast<std::size_t>(std::max<ssize_t>(got, 0)));
}

void listDirectory(const char* path) {
    if (DIR* const directory = ::opendir(path)) {
        while (::readdir(directory) != nullptr) {
        }
        ::closedir(directory);
    }
}

/// `stamped`: with the kernel's time of each reply, which is what a latency is computed from.
void echoes(int count, bool stamped) {
    const int fd = linkSocket(SOCK_RAW, IPPROTO_ICMP, 0);
    const int on = 1;
    const std::uint32_t filter = ~(1U << ICMP_ECHOREPLY);
    const sockaddr_in peer = address(arguments[2], 0);
    ::setsockopt(fd, SOL_RAW, 1, &filter, sizeof filter);
    if (stamped) {
        ::setsockopt(fd, SOL_SOCKET, SO_TIMESTAMPNS, &on, sizeof on);
    }
    for (int i = 0; i < count; ++i) {
        std::array<std::uint8_t, 24> packet{ICMP_ECHO, 0, 0xf7, 0xff};
        std::array<char, 256> reply;
        pollfd answer{fd, POLLIN, 0};
        ::sendto(fd, packet.data(), packet.size(), MSG_NOSIGNAL,
                 reinterpret_cast<const sockaddr*>(&peer), sizeof peer);
        if (::poll(&answer, 1, 1000) > 0) {
            std::array<char, 64> stamp;
            iovec into{reply.data(), reply.size()};
            msghdr message{nullptr, 0, &into, 1, stamp.data(), stamp.size(), 0};
            ::recvmsg(fd, &message, 0);
        }
        if (i + 1 < count) {
            ::usleep(20'000);
        }
    }
    ::close(fd);
}

bool sendSome(int fd, std::size_t size) {
    const std::string bytes(size, 'x');
    return ::send(fd, bytes.data(), size, MSG_NOSIGNAL) == static_cast<ssize_t>(size);
}

bool receiveSome(int fd, std::size_t size) {
    std::array<char, 256> bytes;
    return ::recv(fd, bytes.data(), size, MSG_WAITALL) == static_cast<ssize_t>(size);
}

void askPeer() {
    const int fd = linkSocket(SOCK_STREAM, 0, 0);
    const sockaddr_in peer = address(arguments[2], port);
    if (::connect(fd, reinterpret_cast<const sockaddr*>(&peer), sizeof peer) == 0 &&
        sendSome(fd, messages[0]) && receiveSome(fd, messages[1]) && sendSome(fd, messages[2])) {
        receiveSome(fd, messages[3]);
    }
    ::close(fd);
}

[[noreturn]] void* aliveRoutine(void*) {
    for (;;) {
        echoes(1, false);
        readWhole("/proc/drbd");
        ::sleep(aliveSeconds);
    }
}

[[noreturn]] void* nonBlockRoutine(void*) {
    for (;;) {
        listDirectory("/sys/block");
        askPeer();
        ::access("/tmp/ha_role_active", F_OK);
        ::sleep(checkSeconds);
    }
}

[[noreturn]] void* mayBlockRoutine(void*) {
    for (;;) {
        echoes(5, true);
        listDirectory("/sys/block");
        ::access("/tmp/ha_role_active", F_OK);
        ::sleep(checkSeconds);
    }
}

[[noreturn]] void* monitorRoutine(void*) {
    for (;;) {
        ::access("/tmp/ha_role_active", F_OK);
        ::sleep(checkSeconds);
    }
}

void recordProcesses(std::string& into) {
    DIR* const proc = ::opendir("/proc");
    while (const dirent* const entry = ::readdir(proc)) {
        if (std::isdigit(static_cast<unsigned char>(entry->d_name[0])) != 0) {
            const std::string directory = "/proc/" + std::string(entry->d_name);
            into += readWhole(directory + "/stat");
            into.append(readWhole(directory + "/status"), 0, 100);
        }
    }
    ::closedir(proc);
}

[[noreturn]] void* recordRoutine(void*) {
    for (;;) {
        std::string all = readWhole("/proc/meminfo").substr(0, 400);
        recordProcesses(all);
        readWhole("/proc/self/mountinfo");
        struct statfs usage {};
        ::statfs("/", &usage);
        {
            const std::lock_guard lock(recordMutex);
            record += all;
        }
        ::sleep(recordSeconds);
    }
}

[[noreturn]] void* logRoutine(void*) {
    for (;;) {
        std::string all;
        {
            const std::lock_guard lock(recordMutex);
            std::swap(all, record);
        }
        if (!all.empty()) {
            const int fd = ::open(arguments[5], O_WRONLY | O_CREAT | O_APPEND | O_CLOEXEC, 0640);
            bench::need(::write(fd, all.data(), all.size()) > 0, "write");
            ::fdatasync(fd);
            ::close(fd);
        }
        ::sleep(flushSeconds);
    }
}

[[noreturn]] void* peerDoorRoutine(void*) {
    pollfd listener{linkSocket(SOCK_STREAM, 0, port), POLLIN, 0};
    ::listen(listener.fd, 8);
    for (;;) {
        if (::poll(&listener, 1, waitMs) > 0) {
            const int fd = ::accept4(listener.fd, nullptr, nullptr, SOCK_CLOEXEC);
            if (receiveSome(fd, messages[0]) && sendSome(fd, messages[1]) &&
                receiveSome(fd, messages[2])) {
                sendSome(fd, messages[3]);
            }
            ::close(fd);
        }
    }
}

[[noreturn]] void* statusDoorRoutine(void*) {
    const bench::UnixAddress where(arguments[4]);
    pollfd listener{::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0), POLLIN, 0};
    bench::need(::bind(listener.fd, where.get(), bench::UnixAddress::size()) == 0, arguments[4]);
    ::listen(listener.fd, 15);
    for (;;) {
        ::poll(&listener, 1, waitMs);
    }
}

/// The supervisor waits for the end of each of eight routines in turn, a second for each, and one
/// second more: a wait that the routine could end, which is more than to sleep.
[[noreturn]] void supervise() {
    struct Result {
        std::mutex mutex;
        std::condition_variable change;
        bool isThere = false;
    };
    std::array<Result, 8> results;
    for (;;) {
        for (Result& each : results) {
            std::unique_lock lock(each.mutex);
            each.change.wait_for(lock, std::chrono::seconds(1), [&] { return each.isThere; });
        }
        ::sleep(1);
    }
}

}  // namespace

int main(int argc, char** argv) {
    if (argc != 6) {
        std::fprintf(stderr, "Usage: skeleton LOCAL REMOTE INTERFACE STATUS_SOCKET RECORD_FILE\n");
        return 2;
    }
    arguments = argv;
    bench::need(::mlockall(MCL_CURRENT | MCL_FUTURE) == 0, "mlockall");
    for (auto* const routine :
         {&logRoutine, &recordRoutine, &peerDoorRoutine, &aliveRoutine, &nonBlockRoutine,
          &mayBlockRoutine, &monitorRoutine, &statusDoorRoutine}) {
        bench::startRoutine(routine);
    }
    supervise();
}
