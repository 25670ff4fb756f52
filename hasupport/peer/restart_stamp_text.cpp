// SPDX-License-Identifier: Apache-2.0
#include <algorithm>
#include <charconv>

#include "hasupport/peer/restart_stamp.h"

namespace KORA::HA::Daemon::support {
namespace {

constexpr std::size_t textLimit = 500;
constexpr std::int64_t secondsLimit = std::int64_t{1} << 33U;  // the year 2242

std::string oneLine(std::string text) {
    text.resize(std::min(text.size(), textLimit));
    std::replace_if(
        text.begin(), text.end(), [](char c) { return c < ' ' && c >= 0; }, ' ');
    return text;
}

/// Seconds that every clock here can count with; false when the text is something else.
bool readSeconds(std::string_view text, std::int64_t& into) {
    const char* const last = text.data() + text.size();
    const auto [end, error] = std::from_chars(text.data(), last, into);
    return error == std::errc() && end == last && into >= 0 && into <= secondsLimit;
}

/// False when the value is none that a stamp can have. Members of later releases are passed over.
bool readMember(RestartStamp& stamp, std::string_view key, std::string_view value) {
    if (key == "bootId") {
        stamp.bootId = value;
    } else if (key == "bootSeconds") {
        return readSeconds(value, stamp.bootSeconds);
    } else if (key == "wallSeconds") {
        return readSeconds(value, stamp.wallSeconds);
    } else if (key == "reason") {
        stamp.reason = value;
    } else if (key == "outcome") {
        stamp.outcome = value;
    } else if (key == "leftSeconds") {
        return readSeconds(value, stamp.leftSeconds);
    } else if (key == "backSeconds") {
        return readSeconds(value, stamp.backSeconds);
    }
    return true;
}

}  // namespace

std::optional<RestartStamp> parseStamp(std::string_view text) {
    RestartStamp stamp;
    while (!text.empty()) {
        const auto end = text.find('\n');
        const std::string_view line = text.substr(0, end);
        if (line == "end") {
            return stamp;
        }
        const auto equals = line.find('=');
        if (equals == std::string_view::npos ||
            !readMember(stamp, line.substr(0, equals), line.substr(equals + 1))) {
            break;
        }
        text = end == std::string_view::npos ? std::string_view() : text.substr(end + 1);
    }
    return std::nullopt;  // it does not tell what it was
}

std::string stampText(const RestartStamp& stamp) {
    return "bootId=" + stamp.bootId + "\nbootSeconds=" + std::to_string(stamp.bootSeconds) +
           "\nwallSeconds=" + std::to_string(stamp.wallSeconds) +
           "\nreason=" + oneLine(stamp.reason) + "\noutcome=" + oneLine(stamp.outcome) +
           "\nleftSeconds=" + std::to_string(stamp.leftSeconds) +
           "\nbackSeconds=" + std::to_string(stamp.backSeconds) + "\nend\n";
}

}  // namespace KORA::HA::Daemon::support
