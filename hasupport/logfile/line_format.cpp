#include "hasupport/logfile/line_format.h"

#include <algorithm>
#include <array>
#include <cstdio>
#include <ctime>

namespace KORA::HA::Daemon::support {
namespace {

void appendStamp(std::string& out, std::chrono::system_clock::time_point at) {
    using std::chrono::microseconds;
    const auto sinceEpoch = std::chrono::floor<microseconds>(at.time_since_epoch());
    const auto seconds = std::chrono::floor<std::chrono::seconds>(sinceEpoch);
    const std::time_t whole = seconds.count();
    std::tm utc{};
    ::gmtime_r(&whole, &utc);
    std::array<char, 64> text{};
    const std::size_t length = std::strftime(text.data(), text.size(), "%Y-%m-%dT%H:%M:%S", &utc);
    out.append(text.data(), length);
    std::array<char, 16> fraction{};
    std::snprintf(fraction.data(), fraction.size(), ".%06dZ ",
                  static_cast<int>((sinceEpoch - seconds).count()));
    out.append(fraction.data());
}

void appendEscaped(std::string& out, char c) {
    constexpr std::string_view digits = "0123456789abcdef";
    const auto byte = static_cast<unsigned char>(c);
    out.append("\\x").push_back(digits[byte >> 4U]);
    out.push_back(digits[byte & 0xfU]);
}

}  // namespace

void appendLogLine(std::string& out, std::chrono::system_clock::time_point at,
                   std::string_view text) {
    appendStamp(out, at);
    if (!text.empty() && text.back() == '\n') {
        text.remove_suffix(1);
    }
    for (const char c : text) {
        if (c == '\n') {
            out.append("\n\t");
        } else if (static_cast<unsigned char>(c) < 0x20U || c == '\x7f') {
            appendEscaped(out, c);
        } else {
            out.push_back(c);
        }
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
