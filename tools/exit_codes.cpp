// SPDX-License-Identifier: Apache-2.0
#include "tools/exit_codes.h"

#include <algorithm>
#include <array>
#include <vector>

namespace korahamonctl {
namespace {

struct Codes {
    const char* command;
    std::array<const char*, 4> meanings;  // of 0, 1, ...; nothing where a code does not occur
};

constexpr const char* usage = "wrong usage";
constexpr const char* noAnswer = "the daemon does not answer";

constexpr std::array<Codes, 13> table = {{
    {"status",
     {"all is well (a resynchronisation alone is well)",
      "the peer is not alive, DRBD is not connected, a disk of either node is in error handling, "
      "an array is degraded, or a value is invalid or stale",
      usage, noAnswer}},
    {"watch",
     {"left by its key", "the output cannot be written", usage,
      "the daemon does not answer or has left (the full-screen view waits for it instead)"}},
    {"check",
     {"OK, all is well",
      "WARNING, the heartbeat's latency or the rate of failed packets has reached its threshold",
      "CRITICAL, the peer is not alive, DRBD is not connected, a disk of either node is in error "
      "handling, or an array is degraded",
      "UNKNOWN, a value is invalid or stale, the daemon does not answer, or wrong usage"}},
    {"log", {"shown", "there is no log, or it cannot be shown", usage, nullptr}},
    {"tune", {"replayed", "there are no samples", usage, nullptr}},
    {"explain", {"explained", "no message is like this", usage, nullptr}},
    {"doctor", {"no point is bad", "at least one point is bad", usage, nullptr}},
    {"support-bundle", {"made", "it could not be made", usage, nullptr}},
    {"check-config",
     {"nothing is wrong with it (a missing file is fine)",
      "something is wrong with it, or it cannot be read", usage, nullptr}},
    {"peer-key",
     {"done", "there is no key, or it cannot be made, read or put in force", usage, nullptr}},
    {"flush",
     {"nothing is left",
      "something is, because a daemon runs and writes it itself, or because it cannot be written",
      usage, nullptr}},
    {"metrics", {"told", "they cannot be written", usage, noAnswer}},
    {"exporter", {"told to end", "it cannot serve there", usage, nullptr}},
}};

constexpr Codes others = {"", {"done", "something is wrong", usage, nullptr}};

std::vector<std::string> codesOf(std::string_view command) {
    const auto* found = std::find_if(table.begin(), table.end(),
                                     [&](const Codes& each) { return each.command == command; });
    const Codes& codes = found == table.end() ? others : *found;
    std::vector<std::string> lines;
    for (std::size_t code = 0; code < codes.meanings.size(); ++code) {
        if (codes.meanings.at(code) != nullptr) {
            lines.push_back(std::to_string(code) + " " + codes.meanings.at(code));
        }
    }
    return lines;
}

// Lines of at most 78 characters, the further ones behind the number.
std::string wrapped(const std::string& text) {
    constexpr std::size_t widest = 74;
    std::string out;
    std::string rest = text;
    while (rest.size() > widest) {
        const auto blank = rest.rfind(' ', widest);
        out += "  " + rest.substr(0, blank) + "\n";
        rest = "  " + rest.substr(blank + 1);
    }
    return out + "  " + rest;
}

}  // namespace

std::string exitCodesOf(std::string_view command) {
    std::string text;
    for (const std::string& line : codesOf(command)) {
        text += (text.empty() ? "" : "; ") + line;
    }
    return text;
}

std::string exitCodesHelp(std::string_view command) {
    std::string text = "Exit codes:";
    for (const std::string& line : codesOf(command)) {
        text += "\n" + wrapped(line);
    }
    return text;
}

}  // namespace korahamonctl
