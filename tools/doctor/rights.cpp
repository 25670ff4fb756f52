// SPDX-License-Identifier: Apache-2.0
#include <netinet/in.h>
#include <sys/socket.h>

#include <charconv>
#include <cstdint>
#include <string_view>

#include "hasupport/io/read_file.h"
#include "hasupport/io/unique_fd.h"
#include "tools/doctor/finding.h"

namespace korahamonctl::doctor {
namespace {

using KORA::HA::Daemon::support::readFile;
using KORA::HA::Daemon::support::UniqueFd;

constexpr unsigned int rawSockets = 13;    // CAP_NET_RAW
constexpr unsigned int lockedMemory = 14;  // CAP_IPC_LOCK
constexpr std::uint64_t enoughBytes = std::uint64_t{64} << 20U;

// The first word behind `name`, which begins a line; empty when there is none.
std::string_view wordBehind(std::string_view text, std::string_view name) {
    constexpr std::string_view blanks = " \t";
    auto at = text.starts_with(name) ? 0 : text.find("\n" + std::string(name));
    if (at == std::string_view::npos) {
        return {};
    }
    text.remove_prefix(text[at] == '\n' ? at + 1 + name.size() : at + name.size());
    at = text.find_first_not_of(blanks);
    text.remove_prefix(at == std::string_view::npos ? text.size() : at);
    return text.substr(0, text.find_first_of(" \t\n"));
}

std::optional<std::uint64_t> numberFrom(std::string_view word, int base) {
    std::uint64_t number = 0;
    const auto [end, error] = std::from_chars(word.data(), word.data() + word.size(), number, base);
    return error == std::errc() && end == word.data() + word.size() && !word.empty()
               ? std::optional(number)
               : std::nullopt;
}

std::optional<bool> holds(const Node& node, unsigned int capability) {
    const std::string status = readFile(node.procPath("status")).value_or("");
    const auto set = numberFrom(wordBehind(status, "CapEff:"), 16);
    return set ? std::optional((*set >> capability & 1U) != 0) : std::nullopt;
}

Finding examineMemory(const Node& node) {
    const std::string point = node.pid() ? "memory lock limit" : "memory lock limit of this shell";
    const std::string remedy =
        "LimitMEMLOCK=infinity in its unit, or ulimit -l unlimited before it is started";
    const std::string limits = readFile(node.procPath("limits")).value_or("");
    const std::string word(wordBehind(limits, "Max locked memory"));
    const auto bytes = numberFrom(word, 10);
    if (holds(node, lockedMemory).value_or(false)) {
        return {Verdict::fine, point, "does not bind: the right to lock memory is held", ""};
    }
    if (word == "unlimited" || (bytes && *bytes >= enoughBytes)) {
        return {Verdict::fine, point, word == "unlimited" ? word : word + " bytes are enough", ""};
    }
    if (bytes && *bytes == 0) {
        return {Verdict::note, point, "is 0: nothing is locked, which is safe but may be slow",
                remedy};
    }
    if (bytes) {
        return {Verdict::bad, point,
                "of " + word + " bytes is too low: once it is reached, memory runs out", remedy};
    }
    return {Verdict::note, point, "cannot be read", runAsRoot};
}

bool mayOpen(int type) {
    return static_cast<bool>(UniqueFd(::socket(AF_INET, type | SOCK_CLOEXEC, IPPROTO_ICMP)));
}

Finding examineEchoes(const Node& node) {
    const std::string point = "right to send echoes";
    if (holds(node, rawSockets).value_or(false)) {
        return {Verdict::fine, point, "is held (raw sockets)", ""};
    }
    if (!node.pid() && mayOpen(SOCK_RAW)) {
        return {Verdict::fine, point, "is held (raw sockets)", ""};
    }
    // The group range that this rests on is one for the daemon and for this tool, if both are root.
    if (mayOpen(SOCK_DGRAM)) {
        return {Verdict::fine, point, "is held (datagram sockets)", ""};
    }
    return {Verdict::bad, point, "is missing: the peer would never count as alive",
            "run the daemon as root with CAP_NET_RAW, or widen net.ipv4.ping_group_range"};
}

}  // namespace

Findings examineRights(const Node& node) {
    return {examineMemory(node), examineEchoes(node)};
}

}  // namespace korahamonctl::doctor
