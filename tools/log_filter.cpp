// SPDX-License-Identifier: Apache-2.0
#include "tools/log_filter.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <ctime>

namespace korahamonctl {
namespace {

using std::chrono::microseconds;
using std::chrono::seconds;

// Nothing unless the whole text has this form.
std::optional<LogTime> timeIn(const std::string& text, const char* form) {
    std::tm utc{};
    const char* end = ::strptime(text.c_str(), form, &utc);
    if (end == nullptr || *end != '\0') {
        return std::nullopt;
    }
    return LogTime(seconds(::timegm(&utc)));
}

std::optional<seconds> spanFrom(std::string_view text) {
    constexpr long mostUnits = 100'000;
    constexpr std::string_view units = "smhd";
    constexpr std::array<long, 4> lengths = {1, 60, 3600, 86'400};
    const auto unit = text.empty() ? std::string_view::npos : units.find(text.back());
    if (unit == std::string_view::npos) {
        return std::nullopt;
    }
    text.remove_suffix(1);
    long count = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), count);
    if (error != std::errc() || end != text.data() + text.size() || count < 0 ||
        count > mostUnits) {
        return std::nullopt;
    }
    return seconds(count * lengths.at(unit));
}

// What the table does not know is the daemon's or the library's trouble.
Topic topicOf(const std::string& record) {
    const Message* message = messageOf(std::string_view(record).substr(0, record.find('\n')));
    return message == nullptr ? Topic::trouble : message->topic;
}

}  // namespace

std::optional<LogTime> stampOf(std::string_view record) {
    constexpr std::size_t secondsLength = 19;
    constexpr std::size_t stampLength = 27;  // with ".123456Z"
    if (record.size() < stampLength || record[secondsLength] != '.' ||
        record[stampLength - 1] != 'Z') {
        return std::nullopt;
    }
    const auto whole = timeIn(std::string(record.substr(0, secondsLength)), "%Y-%m-%dT%H:%M:%S");
    const std::string_view fraction =
        record.substr(secondsLength + 1, stampLength - secondsLength - 2);
    if (!whole || fraction.find_first_not_of("0123456789") != std::string_view::npos) {
        return std::nullopt;
    }
    long micros = 0;
    std::from_chars(fraction.data(), fraction.data() + fraction.size(), micros);
    return *whole + microseconds(micros);
}

std::optional<LogTime> timeFrom(const std::string& text, LogTime now) {
    if (const auto span = spanFrom(text)) {
        return now - *span;
    }
    for (const char* form : {"%Y-%m-%d", "%Y-%m-%d %H:%M", "%Y-%m-%dT%H:%M", "%Y-%m-%d %H:%M:%S",
                             "%Y-%m-%dT%H:%M:%S", "%Y-%m-%dT%H:%M:%SZ"}) {
        if (const auto time = timeIn(text, form)) {
            return time;
        }
    }
    return std::nullopt;
}

bool LogFilter::passes(const std::string& record) {
    if (since) {
        const auto stamp = stampOf(record);
        last_ = stamp ? stamp : last_;
        if (!last_ || *last_ < *since) {
            return false;
        }
    }
    if (!topics.empty() &&
        std::find(topics.begin(), topics.end(), topicOf(record)) == topics.end()) {
        return false;
    }
    return contains.empty() || record.find(contains) != std::string::npos;
}

}  // namespace korahamonctl
