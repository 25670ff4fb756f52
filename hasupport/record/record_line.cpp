// SPDX-License-Identifier: Apache-2.0
#include "hasupport/record/record_line.h"

#include <array>
#include <cstdio>
#include <ctime>

namespace KORA::HA::Daemon::support {
namespace {

constexpr std::size_t valueLimit = 256;

bool isPlain(char c) {
    const auto byte = static_cast<unsigned char>(c);
    return byte > ' ' && byte != 0x7fU && c != '=' && c != '"' && c != '\\';
}

}  // namespace

RecordLine::RecordLine(std::string_view kind) : line_("record=") {
    line_ += kind;
}

void RecordLine::begin(std::string_view key) {
    line_ += ' ';
    line_ += key;
    line_ += '=';
}

RecordLine& RecordLine::text(std::string_view key, std::string_view value) {
    constexpr std::string_view digits = "0123456789abcdef";
    begin(key);
    for (const char c : value.substr(0, valueLimit)) {
        if (isPlain(c)) {
            line_ += c;
            continue;
        }
        const auto byte = static_cast<unsigned char>(c);
        line_ += "\\x";
        line_ += digits[byte >> 4U];
        line_ += digits[byte & 0x0fU];
    }
    return *this;
}

RecordLine& RecordLine::number(std::string_view key, std::uint64_t value) {
    begin(key);
    line_ += std::to_string(value);
    return *this;
}

RecordLine& RecordLine::real(std::string_view key, double value) {
    std::array<char, 64> out{};
    // A float's largest value has 39 digits before the point.
    (void)std::snprintf(out.data(), out.size(), "%.6f", value);
    begin(key);
    line_ += out.data();
    return *this;
}

RecordLine& RecordLine::flag(std::string_view key, bool value) {
    return text(key, value ? "true" : "false");
}

RecordLine& RecordLine::time(std::string_view key, std::chrono::system_clock::time_point value) {
    const auto whole = std::chrono::floor<std::chrono::seconds>(value);
    const auto rest = std::chrono::floor<std::chrono::milliseconds>(value - whole);
    const std::time_t seconds = std::chrono::system_clock::to_time_t(whole);
    std::tm parts{};
    ::gmtime_r(&seconds, &parts);
    std::array<char, 48> day{};
    (void)std::strftime(day.data(), day.size(), "%Y-%m-%dT%H:%M:%S", &parts);
    std::array<char, 64> out{};
    (void)std::snprintf(out.data(), out.size(), "%s.%03dZ", day.data(),
                        static_cast<int>(rest.count()));
    return text(key, out.data());
}

}  // namespace KORA::HA::Daemon::support
