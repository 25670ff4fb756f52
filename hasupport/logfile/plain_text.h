// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <bit>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <string_view>

namespace KORA::HA::Daemon::support {

inline bool isControl(char c) {
    return static_cast<unsigned char>(c) < 0x20U || c == '\x7f';
}

/// How many bytes at the beginning of the text are no control characters. Eight are looked at at a
/// time: every line that is logged or written passes through here.
inline std::size_t plainLength(std::string_view text) {
    constexpr std::uint64_t ones = 0x0101010101010101U;
    constexpr std::uint64_t tops = 0x80U * ones;
    std::size_t at = 0;
    for (; text.size() - at >= sizeof(std::uint64_t); at += sizeof(std::uint64_t)) {
        std::uint64_t bytes = 0;
        std::memcpy(&bytes, text.data() + at, sizeof bytes);
        const std::uint64_t deleted = bytes ^ (0x7fU * ones);  // zero where there is a 0x7f
        const std::uint64_t low = (bytes - 0x20U * ones) & ~bytes;
        const std::uint64_t found = (low | ((deleted - ones) & ~deleted)) & tops;
        if (found != 0) {
            return at + static_cast<std::size_t>(std::countr_zero(found)) / 8;
        }
    }
    while (at < text.size() && !isControl(text[at])) {
        ++at;
    }
    return at;
}

}  // namespace KORA::HA::Daemon::support
