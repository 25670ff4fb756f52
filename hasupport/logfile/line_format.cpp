// SPDX-License-Identifier: Apache-2.0
#include "hasupport/logfile/line_format.h"

#include <algorithm>

#include "hasupport/logfile/plain_text.h"

namespace KORA::HA::Daemon::support {
namespace {

/// Puts a number of `width` digits before `end`.
void putDigits(char* end, std::int64_t value, int width) {
    auto rest = static_cast<std::uint32_t>(value);
    for (int digit = 0; digit < width; ++digit, rest /= 10) {
        *--end = static_cast<char>('0' + rest % 10);
    }
}

void appendEscaped(std::string& out, char c) {
    constexpr std::string_view digits = "0123456789abcdef";
    const auto byte = static_cast<unsigned char>(c);
    out.append("\\x").push_back(digits[byte >> 4U]);
    out.push_back(digits[byte & 0xfU]);
}

}  // namespace

std::string_view LineStamp::at(std::chrono::system_clock::time_point at) {
    using namespace std::chrono;
    if (at < second_ || at - second_ >= seconds(1)) {
        setSecond(floor<seconds>(at));
    }
    const auto fraction = static_cast<std::uint32_t>(floor<microseconds>(at - second_).count());
    // In halves, because a processor works on both at once.
    putDigits(text_.data() + 23, fraction / 1000, 3);
    putDigits(text_.data() + 26, fraction % 1000, 3);
    return {text_.data(), text_.size() - 1};
}

void LineStamp::setSecond(std::chrono::sys_seconds second) {
    using namespace std::chrono;
    const auto day = floor<days>(second);
    const year_month_day date(day);
    const hh_mm_ss time(second - day);
    putDigits(text_.data() + 4, int{date.year()}, 4);
    putDigits(text_.data() + 7, unsigned{date.month()}, 2);
    putDigits(text_.data() + 10, unsigned{date.day()}, 2);
    putDigits(text_.data() + 13, time.hours().count(), 2);
    putDigits(text_.data() + 16, time.minutes().count(), 2);
    putDigits(text_.data() + 19, time.seconds().count(), 2);
    second_ = second;
}

void appendLogLine(std::string& out, std::string_view stamp, std::string_view text) {
    out.append(stamp);
    if (!text.empty() && text.back() == '\n') {
        text.remove_suffix(1);
    }
    for (;;) {
        const std::size_t plain = plainLength(text);
        out.append(text.data(), plain);
        if (plain == text.size()) {
            break;
        }
        if (text[plain] == '\n') {
            out.append("\n\t");
        } else {
            appendEscaped(out, text[plain]);
        }
        text.remove_prefix(plain + 1);
    }
    out.push_back('\n');
}

void fitLine(std::string& line, std::size_t limit, std::size_t missing) {
    if (line.size() <= limit && missing == 0) {
        return;
    }
    constexpr std::size_t noteRoom = 64;
    std::size_t kept = std::min(line.size() - 1, limit > noteRoom ? limit - noteRoom : 0);
    while (kept > 0 && (static_cast<unsigned char>(line[kept]) & 0xc0U) == 0x80U) {
        --kept;  // not inside a character
    }
    while (kept > 0 && line[kept - 1] == '\n') {
        --kept;  // a newline inside needs the tab behind it
    }
    missing += line.size() - 1 - kept;
    line.resize(kept);
    line.append(" [").append(std::to_string(missing)).append(" bytes cut]\n");
}

void appendLossLine(std::string& out, std::string_view next, std::uint64_t lost) {
    constexpr std::size_t stampSize = 28;
    if (next.size() >= stampSize && next.substr(stampSize - 2, 2) == "Z ") {
        out.append(next.substr(0, stampSize));
    }
    out.append("libkorahadaemon: older lines were lost, the log could not be written in time: ")
        .append(std::to_string(lost))
        .append("\n");
}

}  // namespace KORA::HA::Daemon::support
