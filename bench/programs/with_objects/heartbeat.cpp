// SPDX-License-Identifier: Apache-2.0
// The daemon's heartbeat probe and a bare raw socket by turns, at the same moments on the same
// link. Prints the medians' JSON: what each says of the round trip, in nanoseconds.
//
//   heartbeat LOCAL REMOTE INTERFACE TURNS
#include <arpa/inet.h>
#include <netinet/in.h>
#include <netinet/ip_icmp.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

#include <array>
#include <cstring>
#include <string>

#include "bench/programs/measured.h"
#include "hasupport/local_probes.h"
#include "hasupport/replication_link.h"

namespace {

using std::chrono::nanoseconds;

nanoseconds spanOf(const timespec& time) {
    return std::chrono::seconds(time.tv_sec) + nanoseconds(time.tv_nsec);
}

nanoseconds wallNow() {
    timespec now{};
    ::clock_gettime(CLOCK_REALTIME, &now);
    return spanOf(now);
}

/// The least: one echo, and the kernel's stamp of its reply.
class RawEcho {
  public:
    RawEcho(const char* local, const char* remote)
        : fd_(::socket(AF_INET, SOCK_RAW | SOCK_CLOEXEC, IPPROTO_ICMP)) {
        bench::need(fd_ >= 0, "socket");
        const int on = 1;
        const std::uint32_t filter = ~(1U << ICMP_ECHOREPLY);
        ::setsockopt(fd_, SOL_SOCKET, SO_TIMESTAMPNS, &on, sizeof on);
        ::setsockopt(fd_, SOL_RAW, 1, &filter, sizeof filter);
        sockaddr_in from{};
        from.sin_family = AF_INET;
        ::inet_pton(AF_INET, local, &from.sin_addr);
        bench::need(::bind(fd_, reinterpret_cast<const sockaddr*>(&from), sizeof from) == 0, local);
        from.sin_port = 0;
        ::inet_pton(AF_INET, remote, &from.sin_addr);
        bench::need(::connect(fd_, reinterpret_cast<const sockaddr*>(&from), sizeof from) == 0,
                    remote);
    }
    ~RawEcho() { ::close(fd_); }
    RawEcho(const RawEcho&) = delete;
    RawEcho& operator=(const RawEcho&) = delete;

    nanoseconds once() {
        std::array<std::uint8_t, 24> packet{ICMP_ECHO, 0, 0xf7, 0xff};
        const auto start = wallNow();
        bench::need(::send(fd_, packet.data(), packet.size(), MSG_NOSIGNAL) > 0, "send");
        pollfd waiting{fd_, POLLIN, 0};
        bench::need(::poll(&waiting, 1, 1000) > 0, "poll");
        return receive() - start;
    }

  private:
    nanoseconds receive() {
        std::array<char, 256> reply;
        std::array<char, 256> control;
        iovec part{reply.data(), reply.size()};
        msghdr message{};
        message.msg_iov = &part;
        message.msg_iovlen = 1;
        message.msg_control = control.data();
        message.msg_controllen = control.size();
        bench::need(::recvmsg(fd_, &message, 0) > 0, "recvmsg");
        for (cmsghdr* each = CMSG_FIRSTHDR(&message); each != nullptr;
             each = CMSG_NXTHDR(&message, each)) {
            if (each->cmsg_level == SOL_SOCKET && each->cmsg_type == SCM_TIMESTAMPNS) {
                timespec stamp{};
                std::memcpy(&stamp, CMSG_DATA(each), sizeof stamp);
                return spanOf(stamp);
            }
        }
        return wallNow();
    }

    int fd_;
};

/// The median of five, 20 ms apart: what the probe takes, too. A new socket each time, as there:
/// the kernel gives every raw socket the replies to others.
nanoseconds rawMedian(char** addresses) {
    RawEcho raw(addresses[0], addresses[1]);
    std::array<nanoseconds, 5> trips{};
    for (auto& trip : trips) {
        trip = raw.once();
        ::usleep(20'000);
    }
    std::sort(trips.begin(), trips.end());
    return trips[2];
}

long long median(std::vector<long long>& all) {
    std::sort(all.begin(), all.end());
    return all[all.size() / 2];
}

}  // namespace

int main(int argc, char** argv) {
    if (argc != 5) {
        std::fprintf(stderr, "Usage: heartbeat LOCAL REMOTE INTERFACE TURNS\n");
        return 2;
    }
    localIP(argv[1]);
    remoteIP(argv[2]);
    drbdIF(argv[3]);
    std::vector<long long> ours;
    std::vector<long long> bare;
    for (int turn = 0; turn < bench::number(argv[4]); ++turn) {
        ours.push_back(static_cast<long long>(KORA::HA::Daemon::heartbeatLatency() * 1e6F));
        bare.push_back(rawMedian(argv + 1).count());
    }
    std::printf("{\"ours\":%lld,\"raw\":%lld}\n", median(ours), median(bare));
    return 0;
}
