// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>
#include <cstdint>
#include <string_view>

namespace koraha::fuzz {

inline std::string_view textOf(const std::uint8_t* data, std::size_t size) {
    return {reinterpret_cast<const char*>(data), size};
}

/// Ends the program, which the fuzzer records with its input, unless `holds`.
inline void require(bool holds) {
    if (!holds) {
        __builtin_trap();
    }
}

}  // namespace koraha::fuzz
