// SPDX-License-Identifier: Apache-2.0
#include "hasupport/logfile/line_format.h"

#include <algorithm>

#include "hasupport/logfile/line_stamp.h"
#include "hasupport/logfile/plain_text.h"

namespace KORA::HA::Daemon::support {
namespace {

void appendEscaped(std::string& out, char c) {
    constexpr std::string_view digits = "0123456789abcdef";
    const auto byte = static_cast<unsigned char>(c);
    out.append("\\x").push_back(digits[byte >> 4U]);
    out.push_back(digits[byte & 0xfU]);
}

}  // namespace

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
    if (next.size() >= stampBytes && next.substr(stampBytes - 2, 2) == "Z ") {
        out.append(next.substr(0, stampBytes));
    }
    out.append("libkorahadaemon: older lines were lost, the log could not be written in time: ")
        .append(std::to_string(lost))
        .append("\n");
}

}  // namespace KORA::HA::Daemon::support
