// SPDX-License-Identifier: Apache-2.0
#include "hasupport/kernel/parse_number.h"

#include <charconv>
#include <system_error>

namespace KORA::HA::Daemon::support {

std::optional<std::uint64_t> parseUnsigned(std::string_view text) {
    std::uint64_t number = 0;
    const char* const end = text.data() + text.size();
    const auto [stop, error] = std::from_chars(text.data(), end, number);
    if (error != std::errc() || stop != end) {
        return std::nullopt;
    }
    return number;
}

}  // namespace KORA::HA::Daemon::support
