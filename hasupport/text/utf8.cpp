// SPDX-License-Identifier: Apache-2.0
#include "hasupport/text/utf8.h"

#include <cstdint>

namespace KORA::HA::Daemon::support {
namespace {

struct Form {
    std::uint32_t mask;   // the bits of the first byte that tell the length
    std::uint32_t lead;   // what they must be
    std::uint32_t least;  // the smallest character that needs this length
    std::size_t length;
};

constexpr Form forms[] = {
    {0x80U, 0x00U, 0x0U, 1},
    {0xe0U, 0xc0U, 0x80U, 2},
    {0xf0U, 0xe0U, 0x800U, 3},
    {0xf8U, 0xf0U, 0x10000U, 4},
};

bool isCharacter(std::uint32_t code, const Form& form) {
    const bool surrogate = code >= 0xd800U && code <= 0xdfffU;
    return code >= form.least && code <= 0x10ffffU && !surrogate;
}

std::size_t lengthOf(std::string_view text, const Form& form) {
    if (text.size() < form.length) {
        return 0;
    }
    std::uint32_t code = static_cast<unsigned char>(text.front()) & ~form.mask & 0xffU;
    for (const char c : text.substr(1, form.length - 1)) {
        const auto byte = static_cast<unsigned char>(c);
        if ((byte & 0xc0U) != 0x80U) {
            return 0;
        }
        code = (code << 6U) | (byte & 0x3fU);
    }
    return isCharacter(code, form) ? form.length : 0;
}

}  // namespace

std::size_t utf8Length(std::string_view text) {
    for (const Form& form : forms) {
        if (!text.empty() && (static_cast<unsigned char>(text.front()) & form.mask) == form.lead) {
            return lengthOf(text, form);
        }
    }
    return 0;
}

}  // namespace KORA::HA::Daemon::support
