#include "hasupport/logfile/line_format.h"

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

}  // namespace KORA::HA::Daemon::support
