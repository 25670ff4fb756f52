// SPDX-License-Identifier: Apache-2.0
#include "tools/visible.h"

#include <array>
#include <cstdio>
#include <string_view>

#include "hasupport/text/utf8.h"

namespace korahamonctl {
namespace {

using KORA::HA::Daemon::support::utf8Length;

constexpr unsigned int harmless = 0;
constexpr unsigned int nulCharacter = 0x10000;  // harmless has taken its code

std::string escaped(const char* form, unsigned int code) {
    std::array<char, 16> text{};
    std::snprintf(text.data(), text.size(), form, code);
    return text.data();
}

bool turnsDirection(unsigned int code) {
    return code == 0x61cU || (code >= 0x200eU && code <= 0x200fU) ||
           (code >= 0x2028U && code <= 0x202eU) || (code >= 0x2066U && code <= 0x2069U);
}

// The code of the well-formed character of up to three bytes.
unsigned int codeOf(std::string_view character) {
    const auto byte = [&](std::size_t i) { return static_cast<unsigned char>(character[i]); };
    switch (character.size()) {
        case 1:
            return byte(0);
        case 2:
            return (byte(0) & 0x1fU) << 6U | (byte(1) & 0x3fU);
        case 3:
            return (byte(0) & 0xfU) << 12U | (byte(1) & 0x3fU) << 6U | (byte(2) & 0x3fU);
        default:
            return 'x';
    }
}

// What must not reach the terminal as it is; `harmless` for all else.
unsigned int harmIn(std::string_view character) {
    const unsigned int code = codeOf(character);
    if (code == 0) {
        return nulCharacter;
    }
    const bool control = code < 0x20U || (code >= 0x7fU && code < 0xa0U);
    return control || turnsDirection(code) ? code : harmless;
}

std::string withEscapes(std::string_view text, const char* form, std::size_t limit) {
    std::string out;
    while (!text.empty()) {
        if (out.size() >= limit) {
            return out + "...";
        }
        const std::size_t length = utf8Length(text);
        const std::string_view character = text.substr(0, length == 0 ? 1 : length);
        const unsigned int harm =
            length == 0 ? static_cast<unsigned char>(text.front()) : harmIn(character);
        if (harm == harmless) {
            out += character;
        } else {
            const unsigned int code = harm == nulCharacter ? 0 : harm;
            out += escaped(code < 0x100U ? form : "\\u%04x", code);
        }
        text.remove_prefix(character.size());
    }
    return out;
}

}  // namespace

std::string visible(const std::string& text, std::size_t limit) {
    return withEscapes(text, "\\x%02x", limit);
}

std::string visibleJson(const std::string& line) {
    return withEscapes(line, "\\u%04x", std::string::npos);
}

}  // namespace korahamonctl
