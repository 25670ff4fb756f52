// SPDX-License-Identifier: Apache-2.0
#include "hasupport/kernel/mdstat.h"

#include "hasupport/kernel/fields.h"
#include "hasupport/kernel/parse_number.h"

namespace KORA::HA::Daemon::support {
namespace {

bool startsWith(std::string_view text, std::string_view with) {
    return text.substr(0, with.size()) == with;
}

/// "md0 : active raid1 sdb1[1] sda1[0]" names an array.
std::string_view arrayNameOf(std::string_view line) {
    if (!startsWith(line, "md")) {
        return {};
    }
    const std::string_view name = nextField(line);
    return name.size() <= 64 && nextField(line) == ":" ? name : std::string_view{};
}

/// "[2/1]": two members wanted, one present.
bool tellsMissingMember(std::string_view word) {
    const auto slash = word.find('/');
    if (word.size() < 2 || word.front() != '[' || word.back() != ']' ||
        slash == std::string_view::npos) {
        return false;
    }
    const auto wanted = parseUnsigned(word.substr(1, slash - 1));
    const auto present = parseUnsigned(word.substr(slash + 1, word.size() - slash - 2));
    return wanted && present && *present < *wanted;
}

/// "resync", "recovery =" and the like, with progress, and "resync=DELAYED" without.
bool tellsResync(std::string_view word, std::string_view next) {
    const auto equals = word.find('=');
    const std::string_view action = word.substr(0, equals);
    const bool rebuilds =
        action == "resync" || action == "recovery" || action == "recover" || action == "reshape";
    return rebuilds && (equals != std::string_view::npos || startsWith(next, "="));
}

void takeDetail(std::string_view line, MdArray& array) {
    for (auto word = nextField(line); !word.empty(); word = nextField(line)) {
        std::string_view rest = line;
        array.degraded |= tellsMissingMember(word);
        array.resyncing |= tellsResync(word, nextField(rest));
    }
}

}  // namespace

std::optional<std::vector<MdArray>> parseMdstat(std::string_view text) {
    if (!startsWith(text, "Personalities")) {
        return std::nullopt;
    }
    std::vector<MdArray> arrays;
    std::string_view line;
    while (nextLine(text, line)) {
        if (startsWith(line, "unused devices:")) {
            return arrays;
        }
        const std::string_view name = arrayNameOf(line);
        if (!name.empty() && arrays.size() == mdArrayLimit) {
            return std::nullopt;
        }
        if (!name.empty()) {
            arrays.push_back(MdArray{std::string(name), false, false});
        } else if (!arrays.empty() && (startsWith(line, " ") || startsWith(line, "\t"))) {
            takeDetail(line, arrays.back());
        }
    }
    return std::nullopt;
}

}  // namespace KORA::HA::Daemon::support
