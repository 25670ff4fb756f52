// SPDX-License-Identifier: Apache-2.0
#include "hasupport/socket/group_file.h"

#include <limits>

#include "hasupport/io/read_file.h"
#include "hasupport/kernel/parse_number.h"

namespace KORA::HA::Daemon::support {
namespace {

/// Cuts off and returns what stands before the next `separator`.
std::string_view cut(std::string_view& text, char separator) {
    const auto end = text.find(separator);
    const std::string_view part = text.substr(0, end);
    text = end == std::string_view::npos ? std::string_view() : text.substr(end + 1);
    return part;
}

}  // namespace

std::optional<gid_t> groupNumber(std::string_view groupText, std::string_view name) {
    while (!groupText.empty()) {
        std::string_view line = cut(groupText, '\n');
        if (cut(line, ':') != name) {
            continue;
        }
        cut(line, ':');
        const auto number = parseUnsigned(cut(line, ':'));
        // The largest number means "leave as it is" to chown.
        if (number && *number < std::numeric_limits<gid_t>::max()) {
            return static_cast<gid_t>(*number);
        }
    }
    return std::nullopt;
}

std::optional<gid_t> readGroupNumber(const std::string& groupFile, std::string_view name) {
    const auto text = readFile(groupFile);
    return text ? groupNumber(*text, name) : std::nullopt;
}

}  // namespace KORA::HA::Daemon::support
