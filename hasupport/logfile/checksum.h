// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <bit>
#include <cstdint>
#include <cstring>
#include <string_view>

namespace KORA::HA::Daemon::support {

/// The last `count` bytes, fewer than eight, as a number in the order in which they are read.
inline std::uint64_t lastBytes(std::string_view bytes, std::size_t count) {
    std::uint64_t number = 0;
    if (bytes.size() >= sizeof number) {  // one load, of which the bytes before them are cut off
        std::memcpy(&number, bytes.data() + bytes.size() - sizeof number, sizeof number);
        return __builtin_bswap64(number) & ((std::uint64_t{1} << 8U * count) - 1);
    }
    for (const char byte : bytes.substr(bytes.size() - count)) {
        number = number << 8U | static_cast<unsigned char>(byte);
    }
    return number;
}

/// A 64-bit check that finds damage; it is no defence against intent. A change of any single word
/// of eight bytes changes it. The words go into two sums by turns, because a processor works on
/// both at once.
inline std::uint64_t checksum(std::string_view bytes, std::uint64_t start = 0xcbf29ce484222325U) {
    constexpr std::uint64_t factor = 0x9e3779b97f4a7c15U;
    constexpr std::size_t wordBytes = sizeof(std::uint64_t);
    // Turned, so that high bits, which only move up in a product, come to act on low ones.
    const auto add = [](std::uint64_t sum, std::uint64_t word) {
        return std::rotl((sum ^ word) * factor, 29);
    };
    const auto wordAt = [bytes](std::size_t at) {
        std::uint64_t word = 0;
        std::memcpy(&word, bytes.data() + at, wordBytes);
        return word;
    };
    std::uint64_t even = start ^ bytes.size();
    std::uint64_t odd = factor;
    std::size_t at = 0;
    for (; bytes.size() - at >= 2 * wordBytes; at += 2 * wordBytes) {
        even = add(even, wordAt(at));
        odd = add(odd, wordAt(at + wordBytes));
    }
    if (bytes.size() - at >= wordBytes) {
        even = add(even, wordAt(at));
        at += wordBytes;
    }
    return add(add(even, lastBytes(bytes, bytes.size() - at)), odd);
}

}  // namespace KORA::HA::Daemon::support
