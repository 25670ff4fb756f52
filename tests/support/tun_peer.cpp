// SPDX-License-Identifier: Apache-2.0
#include "tests/support/tun_peer.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <linux/if_tun.h>
#include <net/if.h>
#include <poll.h>
#include <sys/ioctl.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstring>

#include "tests/support/in_namespace.h"

namespace koraha::test {
namespace {

constexpr std::uint8_t icmpV4 = 1;
constexpr std::uint8_t icmpV6 = 58;
constexpr std::uint8_t requestV4 = 8;
constexpr std::uint8_t requestV6 = 128;
constexpr std::uint8_t replyV6 = 129;

int openTunnel() {
    const int fd = ::open("/dev/net/tun", O_RDWR | O_CLOEXEC | O_NONBLOCK);
    ifreq request{};
    request.ifr_flags = IFF_TUN | IFF_NO_PI;
    std::strcpy(request.ifr_name, TunPeer::device);
    EXPECT_EQ(::ioctl(fd, TUNSETIFF, &request), 0) << std::strerror(errno);
    return fd;
}

void setUpAddresses() {
    command("ip addr add 192.0.2.1/24 dev tun0");
    command("ip addr add 2001:db8::1/64 dev tun0 nodad");
    command("ip addr add fe80::1/64 dev tun0 nodad");
    command("ip link set tun0 up");
}

std::uint32_t sumOf(const Packet& packet, std::size_t from, std::size_t to) {
    std::uint32_t sum = 0;
    for (std::size_t at = from; at < to; at += 2) {
        sum += (std::uint32_t{packet.at(at)} << 8U) + (at + 1 < to ? packet.at(at + 1) : 0U);
    }
    return sum;
}

bool isRequest(const Packet& packet) {
    if (packet.size() < 28) {
        return false;
    }
    if ((packet.at(0) >> 4U) == 4) {
        return packet.at(9) == icmpV4 && packet.at(20) == requestV4;
    }
    return packet.size() >= 48 && packet.at(6) == icmpV6 && packet.at(40) == requestV6;
}

}  // namespace

void fixChecksum(Packet& packet) {
    const bool v6 = (packet.at(0) >> 4U) == 6;
    const std::size_t icmp = v6 ? 40 : 20;
    packet.at(icmp + 2) = 0;
    packet.at(icmp + 3) = 0;
    std::uint32_t sum = sumOf(packet, icmp, packet.size());
    if (v6) {
        sum += sumOf(packet, 8, 40) + static_cast<std::uint32_t>(packet.size() - icmp) + icmpV6;
    }
    while (sum >> 16U != 0) {
        sum = (sum & 0xffffU) + (sum >> 16U);
    }
    packet.at(icmp + 2) = static_cast<std::uint8_t>(~sum >> 8U);
    packet.at(icmp + 3) = static_cast<std::uint8_t>(~sum);
}

Packet Request::reply() const {
    Packet answer = packet;
    const std::size_t source = isV6() ? 8 : 12;
    const auto length = static_cast<std::ptrdiff_t>(isV6() ? 16 : 4);
    const auto first = answer.begin() + static_cast<std::ptrdiff_t>(source);
    std::swap_ranges(first, first + length, first + length);
    answer.at(icmpAt()) = isV6() ? replyV6 : 0;
    fixChecksum(answer);
    return answer;
}

std::vector<TunPeer::Answer> TunPeer::honest(const Request& request) {
    return {{request.reply(), std::chrono::milliseconds(0)}};
}

TunPeer::TunPeer(Script script) : script_(std::move(script)), fd_(openTunnel()) {
    setUpAddresses();
    thread_ = std::thread([this] { run(); });
}

TunPeer::~TunPeer() {
    stop_ = true;
    thread_.join();
    ::close(fd_);
}

void TunPeer::run() {
    while (!stop_) {
        pollfd readable{fd_, POLLIN, 0};
        ::poll(&readable, 1, untilNextDue());
        takeRequest();
        sendDue();
    }
}

int TunPeer::untilNextDue() const {
    auto next = std::chrono::steady_clock::now() + std::chrono::milliseconds(20);
    for (const Due& due : due_) {
        next = std::min(next, due.at);
    }
    const auto left =
        std::chrono::ceil<std::chrono::milliseconds>(next - std::chrono::steady_clock::now());
    return static_cast<int>(std::max<std::int64_t>(left.count(), 0));
}

void TunPeer::takeRequest() {
    Packet packet(2048);
    const ssize_t size = ::read(fd_, packet.data(), packet.size());
    if (size <= 0) {
        return;
    }
    packet.resize(static_cast<std::size_t>(size));
    if (!isRequest(packet)) {
        return;
    }
    const Request request{++requests_, packet};
    const auto now = std::chrono::steady_clock::now();
    for (Answer& answer : script_(request)) {
        due_.push_back({now + answer.after, std::move(answer.packet)});
    }
}

void TunPeer::sendDue() {
    const auto now = std::chrono::steady_clock::now();
    for (const Due& due : due_) {
        if (due.at <= now) {
            EXPECT_EQ(::write(fd_, due.packet.data(), due.packet.size()),
                      static_cast<ssize_t>(due.packet.size()));
        }
    }
    std::erase_if(due_, [now](const Due& due) { return due.at <= now; });
}

}  // namespace koraha::test
