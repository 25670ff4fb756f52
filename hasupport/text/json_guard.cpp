// SPDX-License-Identifier: Apache-2.0
#include "hasupport/text/json_guard.h"

#include <algorithm>

namespace KORA::HA::Daemon::support {
namespace {

/// The position behind the string that starts at `at` with its quote.
std::size_t skipString(std::string_view text, std::size_t at) {
    for (++at; at < text.size(); ++at) {
        if (text[at] == '\\') {
            ++at;
        } else if (text[at] == '"') {
            return at + 1;
        }
    }
    return text.size();
}

/// The position behind the comment that starts at `at`, or behind the slash when it is none: the
/// parser stops descending at such an error.
std::size_t skipComment(std::string_view text, std::size_t at) {
    const std::string_view opening = text.substr(at, 2);
    if (opening == "/*") {
        const auto end = text.find("*/", at + 2);
        return end == std::string_view::npos ? text.size() : end + 2;
    }
    if (opening == "//") {
        return std::min(text.find_first_of("\r\n", at + 2), text.size());
    }
    return at + 1;
}

}  // namespace

bool jsonIsBounded(std::string_view text, std::size_t maxBytes, unsigned maxDepth) {
    if (text.size() > maxBytes) {
        return false;
    }
    unsigned depth = 0;
    for (std::size_t at = 0; at < text.size();) {
        switch (text[at]) {
            case '"':
                at = skipString(text, at);
                continue;
            case '/':
                at = skipComment(text, at);
                continue;
            case '[':
            case '{':
                if (++depth > maxDepth) {
                    return false;
                }
                break;
            case ']':
            case '}':
                depth -= depth > 0 ? 1 : 0;
                break;
            default:
                break;
        }
        ++at;
    }
    return true;
}

}  // namespace KORA::HA::Daemon::support
