// SPDX-License-Identifier: Apache-2.0
#include "hasupport/net/echo_packet.h"

#include <netinet/icmp6.h>
#include <netinet/in.h>
#include <netinet/ip_icmp.h>
#include <sys/socket.h>

#include <cstring>

namespace KORA::HA::Daemon::support {
namespace {

constexpr std::size_t checksumAt = 2;
constexpr std::size_t idAt = 4;
constexpr std::size_t sequenceAt = 6;
constexpr std::size_t cookieAt = 8;
constexpr std::size_t complementAt = 16;

constexpr std::size_t ipHeaderSize = 20;
constexpr std::size_t protocolAt = 9;

template <typename T>
void store(EchoBytes& bytes, std::size_t at, T value) {
    std::memcpy(bytes.data() + at, &value, sizeof value);
}

template <typename T>
T load(std::span<const std::byte> bytes, std::size_t at) {
    T value{};
    std::memcpy(&value, bytes.data() + at, sizeof value);
    return value;
}

/// The Internet checksum over an even number of bytes, in network order as it stands in memory.
std::uint16_t checksum(std::span<const std::byte> bytes) {
    std::uint32_t sum = 0;
    for (std::size_t at = 0; at + 1 < bytes.size(); at += 2) {
        sum += load<std::uint16_t>(bytes, at);
    }
    sum = (sum & 0xffffU) + (sum >> 16U);
    sum = (sum & 0xffffU) + (sum >> 16U);
    return static_cast<std::uint16_t>(~sum);
}

}  // namespace

EchoBytes encodeRequest(const Echo& echo, int family) {
    EchoBytes bytes{};
    bytes[0] =
        std::byte{family == AF_INET ? std::uint8_t{ICMP_ECHO} : std::uint8_t{ICMP6_ECHO_REQUEST}};
    store(bytes, idAt, htons(echo.id));
    store(bytes, sequenceAt, htons(echo.sequence));
    store(bytes, cookieAt, echo.cookie);
    store(bytes, complementAt, ~echo.cookie);
    if (family == AF_INET) {
        store(bytes, checksumAt, checksum(bytes));
    }
    return bytes;
}

std::optional<Echo> decodeReply(std::span<const std::byte> message, int family) {
    const auto reply = std::byte{family == AF_INET ? std::uint8_t{ICMP_ECHOREPLY}
                                                   : std::uint8_t{ICMP6_ECHO_REPLY}};
    if (message.size() != echoSize || message[0] != reply || message[1] != std::byte{0}) {
        return std::nullopt;
    }
    // A raw IPv4 socket sees packets before the kernel has checked them.
    if (family == AF_INET && checksum(message) != 0) {
        return std::nullopt;
    }
    const auto cookie = load<std::uint64_t>(message, cookieAt);
    if (load<std::uint64_t>(message, complementAt) != ~cookie) {
        return std::nullopt;
    }
    return Echo{ntohs(load<std::uint16_t>(message, idAt)),
                ntohs(load<std::uint16_t>(message, sequenceAt)), cookie};
}

std::span<const std::byte> withoutIpHeader(std::span<const std::byte> packet) {
    if (packet.size() < ipHeaderSize || packet[protocolAt] != std::byte{IPPROTO_ICMP}) {
        return {};
    }
    const auto words = std::to_integer<std::size_t>(packet[0] & std::byte{0x0f});
    const std::size_t headerSize = words * 4;
    if (headerSize < ipHeaderSize || headerSize > packet.size()) {
        return {};
    }
    return packet.subspan(headerSize);
}

}  // namespace KORA::HA::Daemon::support
