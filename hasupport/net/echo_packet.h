// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>

namespace KORA::HA::Daemon::support {

/// One ICMP or ICMPv6 echo, request or reply, of this library's own making.
struct Echo {
    std::uint16_t id = 0;
    std::uint16_t sequence = 0;
    std::uint64_t cookie = 0;  ///< random per probe; the payload repeats it

    bool operator==(const Echo&) const = default;
};

inline constexpr std::size_t echoSize = 24;  // header 8, cookie 8, its complement 8
using EchoBytes = std::array<std::byte, echoSize>;

/// The request as it goes out; the IPv4 checksum is set, the one of IPv6 is the kernel's work.
EchoBytes encodeRequest(const Echo& echo, int family);

/// The echo inside a received ICMP message; nothing unless it is a whole, undamaged echo reply of
/// our own form. `message` begins at the ICMP header.
std::optional<Echo> decodeReply(std::span<const std::byte> message, int family);

/// Cuts the IPv4 header off a packet that a raw socket delivered; empty when it is none of ICMP.
std::span<const std::byte> withoutIpHeader(std::span<const std::byte> packet);

}  // namespace KORA::HA::Daemon::support
