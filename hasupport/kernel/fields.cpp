// SPDX-License-Identifier: Apache-2.0
#include "hasupport/kernel/fields.h"

#include <algorithm>

namespace KORA::HA::Daemon::support {
namespace {

constexpr std::string_view blanks = " \t";

}  // namespace

bool nextLine(std::string_view& text, std::string_view& line) {
    if (text.empty()) {
        return false;
    }
    const auto end = std::min(text.find('\n'), text.size());
    line = text.substr(0, end);
    text.remove_prefix(std::min(end + 1, text.size()));
    return true;
}

std::string_view nextField(std::string_view& text) {
    text.remove_prefix(std::min(text.find_first_not_of(blanks), text.size()));
    const auto end = std::min(text.find_first_of(blanks), text.size());
    const std::string_view field = text.substr(0, end);
    text.remove_prefix(end);
    return field;
}

}  // namespace KORA::HA::Daemon::support
