// SPDX-License-Identifier: Apache-2.0
#include "hasupport/net/echo_socket.h"

#include <netinet/icmp6.h>
#include <netinet/in.h>
#include <poll.h>
#include <sys/socket.h>

#include <array>
#include <cerrno>
#include <cstring>
#include <ctime>
#include <utility>

namespace KORA::HA::Daemon::support {
namespace {

// linux/icmp.h and netinet/ip_icmp.h cannot both be included.
constexpr int icmpFilterOption = 1;
constexpr std::uint32_t onlyEchoReplies = ~(1U << 0U);

constexpr std::size_t packetLimit = 256;  // longer than any reply to our requests
constexpr std::size_t controlSpace = 256;
constexpr int packetsWhenLate = 256;

std::chrono::nanoseconds fromTimespec(const timespec& time) {
    return std::chrono::seconds(time.tv_sec) + std::chrono::nanoseconds(time.tv_nsec);
}

/// Takes errno at once, with what was tried.
EchoProblem problemFrom(const std::string& what) {
    const int error = errno;
    return {false, what + ": " + std::strerror(error)};
}

/// The same of a call that makes the socket. Of others EPERM comes and goes: the packet filter
/// drops what is sent while its table of connections is full or its rules are exchanged.
EchoProblem socketProblemFrom(const std::string& what) {
    const int error = errno;
    EchoProblem problem = problemFrom(what);
    problem.lasting =
        error == EPERM || error == EACCES || error == EPROTONOSUPPORT || error == EAFNOSUPPORT;
    return problem;
}

UniqueFd openSocket(int family, bool& raw) {
    const int protocol = family == AF_INET ? int{IPPROTO_ICMP} : int{IPPROTO_ICMPV6};
    constexpr int flags = SOCK_CLOEXEC | SOCK_NONBLOCK;
    raw = true;
    UniqueFd fd(::socket(family, SOCK_RAW | flags, protocol));
    if (!fd && (errno == EPERM || errno == EACCES)) {
        raw = false;
        fd.reset(::socket(family, SOCK_DGRAM | flags, protocol));
    }
    return fd;
}

/// Other ICMP messages would only wake this thread; failing to filter them harms nothing.
void takeRepliesOnly(int fd, int family) {
    if (family == AF_INET) {
        ::setsockopt(fd, SOL_RAW, icmpFilterOption, &onlyEchoReplies, sizeof onlyEchoReplies);
        return;
    }
    icmp6_filter filter{};
    ICMP6_FILTER_SETBLOCKALL(&filter);
    ICMP6_FILTER_SETPASS(ICMP6_ECHO_REPLY, &filter);
    ::setsockopt(fd, IPPROTO_ICMPV6, ICMP6_FILTER, &filter, sizeof filter);
}

void askForKernelStamps(int fd) {
    const int on = 1;
    ::setsockopt(fd, SOL_SOCKET, SO_TIMESTAMPNS, &on, sizeof on);
}

bool bindToDevice(int fd, const std::string& device) {
    return device.empty() || ::setsockopt(fd, SOL_SOCKET, SO_BINDTODEVICE, device.c_str(),
                                          static_cast<socklen_t>(device.size() + 1)) == 0;
}

std::optional<std::chrono::nanoseconds> kernelStamp(msghdr& message) {
    for (cmsghdr* part = CMSG_FIRSTHDR(&message); part != nullptr;
         part = CMSG_NXTHDR(&message, part)) {
        if (part->cmsg_level == SOL_SOCKET && part->cmsg_type == SCM_TIMESTAMPNS &&
            part->cmsg_len >= CMSG_LEN(sizeof(timespec))) {
            timespec time{};
            std::memcpy(&time, CMSG_DATA(part), sizeof time);
            return fromTimespec(time);
        }
    }
    return std::nullopt;
}

}  // namespace

Moment Moment::now() {
    Moment moment;
    moment.steady = SteadyClock::now();
    timespec wall{};
    ::clock_gettime(CLOCK_REALTIME, &wall);
    moment.wall = fromTimespec(wall);
    return moment;
}

EchoSocket::EchoSocket(UniqueFd fd, bool raw, const IpAddress& peer)
    : fd_(std::move(fd)), raw_(raw), peer_(peer), leftWhenLate_(packetsWhenLate) {}

std::optional<EchoSocket> EchoSocket::open(const EchoRoute& route, bool stamped,
                                           EchoProblem& problem) {
    const int family = route.remote.family();
    bool raw = false;
    UniqueFd fd = openSocket(family, raw);
    if (!fd) {
        problem = socketProblemFrom("no ICMP socket");
        return std::nullopt;
    }
    if (raw) {
        takeRepliesOnly(fd.get(), family);
    }
    if (stamped) {
        askForKernelStamps(fd.get());
    }
    if (!bindToDevice(fd.get(), route.device)) {
        problem = socketProblemFrom("cannot use interface " + route.device);
        return std::nullopt;
    }
    if (::bind(fd.get(), route.local.data(), route.local.size()) != 0) {
        problem = problemFrom("cannot use the local address");
        return std::nullopt;
    }
    if (::connect(fd.get(), route.remote.data(), route.remote.size()) != 0) {
        problem = problemFrom("no way to the remote address");
        return std::nullopt;
    }
    return EchoSocket(std::move(fd), raw, route.remote);
}

bool EchoSocket::send(const Echo& echo, EchoProblem& problem) {
    const EchoBytes bytes = encodeRequest(echo, peer_.family());
    ssize_t sent = -1;
    // An error that an earlier echo brought back (host unreachable) is reported here first and is
    // over with that: it says nothing about this one.
    int attempts = 2;
    do {
        sent = ::send(fd_.get(), bytes.data(), bytes.size(), MSG_NOSIGNAL);
    } while (sent < 0 && (errno == EINTR || --attempts > 0));
    if (sent == static_cast<ssize_t>(bytes.size())) {
        return true;
    }
    problem = problemFrom("cannot send an echo");
    return false;
}

std::optional<EchoReply> EchoSocket::receive(const Echo& expected, const Deadline& deadline) {
    // What arrived in time is still looked at, however late this thread is; but not without end.
    for (bool late = deadline.passed(); !late || leftWhenLate_ > 0; late = deadline.passed()) {
        pollfd readable{fd_.get(), POLLIN, 0};
        const int ready = ::poll(&readable, 1, deadline.pollTimeout());
        if (ready == 0) {
            return std::nullopt;  // time is over, and nothing is there
        }
        leftWhenLate_ -= late ? 1 : 0;
        if (ready > 0) {
            if (const auto reply = take(expected)) {
                return reply;
            }
        }
    }
    return std::nullopt;
}

std::optional<EchoReply> EchoSocket::take(const Echo& expected) const {
    std::array<std::byte, packetLimit> packet{};
    alignas(cmsghdr) std::array<std::byte, controlSpace> control{};
    sockaddr_storage source{};
    iovec into{packet.data(), packet.size()};
    msghdr message{};
    message.msg_name = &source;
    message.msg_namelen = sizeof source;
    message.msg_iov = &into;
    message.msg_iovlen = 1;
    message.msg_control = control.data();
    message.msg_controllen = control.size();
    const ssize_t size = ::recvmsg(fd_.get(), &message, 0);
    if (size < 0) {
        return std::nullopt;
    }
    const Moment received = Moment::now();
    const auto from = IpAddress::from(source);
    if (!from || !from->sameHost(peer_) || (message.msg_flags & MSG_TRUNC) != 0) {
        return std::nullopt;
    }
    std::span<const std::byte> bytes(packet.data(), static_cast<std::size_t>(size));
    if (raw_ && peer_.family() == AF_INET) {
        bytes = withoutIpHeader(bytes);
    }
    const auto echo = decodeReply(bytes, peer_.family());
    if (!echo || !matches(*echo, expected)) {
        return std::nullopt;
    }
    return EchoReply{echo->sequence, received, kernelStamp(message)};
}

bool EchoSocket::matches(const Echo& echo, const Echo& expected) const {
    // A datagram socket's identifier is the kernel's choice, and the kernel matches it.
    return echo.cookie == expected.cookie && (!raw_ || echo.id == expected.id);
}

}  // namespace KORA::HA::Daemon::support
