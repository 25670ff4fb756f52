// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cerrno>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <string_view>

namespace koraha::fuzz {

inline std::string_view textOf(const std::uint8_t* data, std::size_t size) {
    return {reinterpret_cast<const char*>(data), size};
}

/// Ends the program, which the fuzzer records with its input, unless `holds`.
inline void require(bool holds, int line = __builtin_LINE()) {
    if (!holds) {
        std::fprintf(stderr, "line %d: does not hold; errno: %s\n", line, std::strerror(errno));
        __builtin_trap();
    }
}

}  // namespace koraha::fuzz
