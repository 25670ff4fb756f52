// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <emmintrin.h>

#include <bit>
#include <cstddef>
#include <string_view>

namespace KORA::HA::Daemon::support {

inline bool isControl(char c) {
    return static_cast<unsigned char>(c) < 0x20U || c == '\x7f';
}

/// Which of sixteen bytes are control characters: one bit for each.
inline unsigned controlsIn(const char* sixteen) {
    const __m128i bytes = _mm_loadu_si128(reinterpret_cast<const __m128i*>(sixteen));
    const __m128i above = _mm_subs_epu8(bytes, _mm_set1_epi8(0x1f));  // 0 for 0x1f and below
    const __m128i low = _mm_cmpeq_epi8(above, _mm_setzero_si128());
    const __m128i deleted = _mm_cmpeq_epi8(bytes, _mm_set1_epi8(0x7f));
    return static_cast<unsigned>(_mm_movemask_epi8(_mm_or_si128(low, deleted)));
}

/// How many bytes at the beginning of the text are no control characters. Sixteen are looked at at
/// a time: every line that is logged or written passes through here.
inline std::size_t plainLength(std::string_view text) {
    constexpr std::size_t step = 16;
    std::size_t at = 0;
    if (text.size() < step) {
        while (at < text.size() && !isControl(text[at])) {
            ++at;
        }
        return at;
    }
    const std::size_t last = text.size() - step;  // looks at some bytes once more
    unsigned found = controlsIn(text.data());
    while (found == 0 && at < last) {
        at = at + step < last ? at + step : last;
        found = controlsIn(text.data() + at);
    }
    return found == 0 ? text.size() : at + static_cast<std::size_t>(std::countr_zero(found));
}

}  // namespace KORA::HA::Daemon::support
