// SPDX-License-Identifier: Apache-2.0
#include <unistd.h>

#include <array>
#include <cstdio>
#include <sstream>

#include "hasupport/io/read_file.h"
#include "hasupport/kernel/proc_drbd.h"
#include "tools/doctor/finding.h"

namespace korahamonctl::doctor {
namespace {

using KORA::HA::Daemon::support::parseProcDrbd;
using KORA::HA::Daemon::support::readFile;

constexpr unsigned int ownEvents = 9;  // from this version on /proc/drbd tells the version only

// A line of /proc/net/tcp: number, local address and port, remote ones, state, all hexadecimal.
bool isListening(const std::string& line, const std::string& port) {
    std::istringstream words(line);
    std::string number;
    std::string local;
    std::string remote;
    std::string state;
    words >> number >> local >> remote >> state;
    return state == "0A" && local.ends_with(":" + port);
}

bool isTaken(const Node& node, std::uint16_t port) {
    std::array<char, 8> text{};
    std::snprintf(text.data(), text.size(), "%04X", unsigned{port});
    for (const char* table : {"/proc/net/tcp", "/proc/net/tcp6"}) {
        std::istringstream lines(readFile(node.path(table)).value_or(""));
        for (std::string line; std::getline(lines, line);) {
            if (isListening(line, text.data())) {
                return true;
            }
        }
    }
    return false;
}

bool hasDrbdsetup(const Node& node) {
    return ::access(node.path("/usr/sbin/drbdsetup").c_str(), X_OK) == 0 ||
           ::access(node.path("/sbin/drbdsetup").c_str(), X_OK) == 0;
}

}  // namespace

Findings examinePort(const Node& node) {
    const std::string point = "port " + std::to_string(node.settings.peerPort);
    const bool taken = isTaken(node, node.settings.peerPort);
    if (node.answer.status && !taken) {
        return {{Verdict::bad, point, "is not open, so the peer cannot ask this node",
                 "the system log says why: look for \"the peer is not served\""}};
    }
    if (node.answer.forbidden && taken) {
        return {{Verdict::note, point, "is taken; whether by the daemon is not known", runAsRoot}};
    }
    if (!node.answer.status && taken) {
        return {{Verdict::bad, point,
                 "is taken: by a daemon that does not answer, or by something else",
                 "ss -ltnp names it"}};
    }
    return {{Verdict::fine, point, taken ? "is open for the peer" : "is free", ""}};
}

Findings examineDrbd(const Node& node) {
    const std::string point = "DRBD";
    if (!node.settings.drbd) {
        return {{Verdict::fine, point, "is not used by this pair", ""}};
    }
    const auto text = readFile(node.path("/proc/drbd"));
    const auto drbd = text ? parseProcDrbd(*text) : std::nullopt;
    if (!drbd) {
        return {{Verdict::bad, point, text ? "is of an unknown kind" : "is not loaded",
                 "modprobe drbd, or say \"drbd\": false in /var/lib/ha/hasupport.conf"}};
    }
    const std::string version = "version " + std::to_string(drbd->majorVersion);
    if (drbd->majorVersion >= ownEvents && !hasDrbdsetup(node)) {
        return {{Verdict::bad, point,
                 version + ", but drbdsetup is not there, so its state is unknown",
                 "install drbd-utils"}};
    }
    return {{Verdict::fine, point, version + " is loaded", ""}};
}

}  // namespace korahamonctl::doctor
