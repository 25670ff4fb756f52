// SPDX-License-Identifier: Apache-2.0
#include "config/number_text.h"

#include <charconv>
#include <cmath>
#include <limits>
#include <string_view>
#include <system_error>

namespace KORA::HA::Daemon {
namespace {

std::string_view withoutBlanks(std::string_view text) {
    constexpr std::string_view blanks = " \t\r\n\v\f";
    const auto first = text.find_first_not_of(blanks);
    if (first == std::string_view::npos) {
        return {};
    }
    return text.substr(first, text.find_last_not_of(blanks) - first + 1);
}

// from_chars takes a minus sign only, and knows "inf" and "nan", which are no decimal numbers.
template <typename Number>
std::optional<Number> wholeNumber(std::string_view text) {
    text = withoutBlanks(text);
    if (text.size() > 1 && text.front() == '+' && text[1] != '-') {
        text.remove_prefix(1);
    }
    if (text.find_first_not_of("+-.0123456789eE") != std::string_view::npos) {
        return std::nullopt;
    }
    Number value{};
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), value);
    if (error != std::errc() || end != text.data() + text.size()) {
        return std::nullopt;
    }
    return value;
}

}  // namespace

std::optional<int> intFromText(const std::string& text) {
    if (const auto whole = wholeNumber<int>(text)) {
        return whole;
    }
    const auto real = wholeNumber<double>(text);
    if (!real) {
        return std::nullopt;
    }
    const double truncated = std::trunc(*real);
    if (truncated < std::numeric_limits<int>::min() ||
        truncated > std::numeric_limits<int>::max()) {
        return std::nullopt;
    }
    return static_cast<int>(truncated);
}

std::optional<float> floatFromText(const std::string& text) {
    return wholeNumber<float>(text);
}

}  // namespace KORA::HA::Daemon
