// SPDX-License-Identifier: Apache-2.0
#include "hasupport/text/json_text.h"

#include <array>
#include <charconv>
#include <cmath>
#include <utility>

#include "hasupport/text/utf8.h"

namespace KORA::HA::Daemon::support {
namespace {

void appendEscaped(std::string& out, char c) {
    constexpr std::string_view digits = "0123456789abcdef";
    const auto byte = static_cast<unsigned char>(c);
    if (c == '"' || c == '\\') {
        out += '\\';
        out += c;
    } else if (byte < 0x20U || byte == 0x7fU) {
        out += "\\u00";
        out += digits[byte >> 4U];
        out += digits[byte & 0x0fU];
    } else {
        out += c;
    }
}

template <typename... Format>
void appendNumber(std::string& out, Format... format) {
    std::array<char, 64> digits{};
    const auto end = std::to_chars(digits.data(), digits.data() + digits.size(), format...).ptr;
    out.append(digits.data(), end);
}

}  // namespace

void JsonText::separate() {
    if (needsComma_) {
        out_ += ',';
    }
    needsComma_ = true;
}

JsonText& JsonText::open(char bracket) {
    separate();
    out_ += bracket;
    needsComma_ = false;
    return *this;
}

JsonText& JsonText::close(char bracket) {
    out_ += bracket;
    needsComma_ = true;
    return *this;
}

JsonText& JsonText::key(std::string_view name) {
    text(name);
    out_ += ':';
    needsComma_ = false;
    return *this;
}

JsonText& JsonText::text(std::string_view value) {
    separate();
    out_ += '"';
    while (!value.empty()) {
        const std::size_t length = utf8Length(value);
        if (length == 1) {
            appendEscaped(out_, value.front());
        } else {
            out_ += length == 0 ? std::string_view("\xef\xbf\xbd") : value.substr(0, length);
        }
        value.remove_prefix(length == 0 ? 1 : length);
    }
    out_ += '"';
    return *this;
}

JsonText& JsonText::flag(bool value) {
    separate();
    out_ += value ? "true" : "false";
    return *this;
}

JsonText& JsonText::integer(std::int64_t value) {
    separate();
    appendNumber(out_, value);
    return *this;
}

JsonText& JsonText::real(float value) {
    if (!std::isfinite(value)) {
        return null();
    }
    separate();
    const std::size_t start = out_.size();
    appendNumber(out_, value);
    if (out_.find_first_of(".e", start) == std::string::npos) {
        out_ += ".0";  // a reader that looks at the spelling sees a real number every time
    }
    return *this;
}

JsonText& JsonText::seconds(double value) {
    constexpr double most = 1e15;
    constexpr int decimals = 3;
    if (!(std::abs(value) <= most)) {
        return null();
    }
    separate();
    appendNumber(out_, value, std::chars_format::fixed, decimals);
    return *this;
}

JsonText& JsonText::time(std::chrono::system_clock::time_point at) {
    return seconds(std::chrono::duration<double>(at.time_since_epoch()).count());
}

JsonText& JsonText::null() {
    separate();
    out_ += "null";
    return *this;
}

std::string JsonText::take() {
    return std::exchange(out_, {});
}

}  // namespace KORA::HA::Daemon::support
