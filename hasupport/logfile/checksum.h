#pragma once

#include <cstdint>
#include <string_view>

namespace KORA::HA::Daemon::support {

/// A 64-bit check (FNV-1a) that finds damage; it is no defence against intent. A check over several
/// texts takes the one before as its start.
constexpr std::uint64_t checksum(std::string_view bytes,
                                 std::uint64_t start = 0xcbf29ce484222325U) {
    std::uint64_t sum = start;
    for (const char byte : bytes) {
        sum = (sum ^ static_cast<unsigned char>(byte)) * 0x100000001b3U;
    }
    return sum;
}

}  // namespace KORA::HA::Daemon::support
