// SPDX-License-Identifier: Apache-2.0
#include "hasupport/kernel/mountinfo.h"

#include <algorithm>
#include <optional>

#include "hasupport/kernel/fields.h"
#include "hasupport/kernel/parse_number.h"

namespace KORA::HA::Daemon::support {
namespace {

constexpr std::size_t octalDigits = 3;

bool isOctal(std::string_view text) {
    return text.size() == octalDigits && text[0] <= '3' &&
           std::all_of(text.begin(), text.end(), [](char c) { return c >= '0' && c <= '7'; });
}

/// The kernel writes blanks, line ends and backslashes as \\ooo.
std::string unescape(std::string_view text) {
    std::string out;
    out.reserve(text.size());
    while (!text.empty()) {
        const std::string_view digits = text.substr(1, octalDigits);
        if (text.front() == '\\' && isOctal(digits)) {
            const int code = (digits[0] - '0') * 64 + (digits[1] - '0') * 8 + (digits[2] - '0');
            out += static_cast<char>(code);
            text.remove_prefix(1 + octalDigits);
        } else {
            out += text.front();
            text.remove_prefix(1);
        }
    }
    return out;
}

bool parseDevice(std::string_view field, Mount& mount) {
    const auto colon = field.find(':');
    if (colon == std::string_view::npos) {
        return false;
    }
    const auto major = parseUnsigned(field.substr(0, colon));
    const auto minor = parseUnsigned(field.substr(colon + 1));
    mount.major = static_cast<unsigned>(major.value_or(0));
    mount.minor = static_cast<unsigned>(minor.value_or(0));
    return major && minor;
}

bool hasOption(std::string_view options, std::string_view wanted) {
    while (!options.empty()) {
        const auto end = std::min(options.find(','), options.size());
        if (options.substr(0, end) == wanted) {
            return true;
        }
        options.remove_prefix(std::min(end + 1, options.size()));
    }
    return false;
}

/// ID PARENT MAJOR:MINOR ROOT POINT OPTIONS [TAGS...] - TYPE SOURCE SUPEROPTIONS
std::optional<Mount> parseMount(std::string_view line) {
    Mount mount;
    const auto id = parseUnsigned(nextField(line));
    nextField(line);
    const bool device = parseDevice(nextField(line), mount);
    nextField(line);
    mount.point = unescape(nextField(line));
    nextField(line);  // this mount's own options, see below
    std::string_view tag = nextField(line);
    while (!tag.empty() && tag != "-") {
        tag = nextField(line);
    }
    mount.type = unescape(nextField(line));
    mount.source = unescape(nextField(line));
    // A service manager that protects the system makes the daemon's own view of each mount
    // read-only, whatever the file system is.
    mount.readOnly = hasOption(nextField(line), "ro");
    mount.id = id.value_or(0);
    if (!id || !device || mount.point.empty() || mount.type.empty()) {
        return std::nullopt;
    }
    return mount;
}

}  // namespace

std::vector<Mount> parseMountinfo(std::string_view text) {
    std::vector<Mount> mounts;
    std::string_view line;
    while (nextLine(text, line)) {
        if (auto mount = parseMount(line)) {
            mounts.push_back(std::move(*mount));
        }
    }
    return mounts;
}

}  // namespace KORA::HA::Daemon::support
