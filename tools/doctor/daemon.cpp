// SPDX-License-Identifier: Apache-2.0
#include <arpa/inet.h>
#include <netinet/in.h>

#include <array>

#include "hasupport/io/read_file.h"
#include "tools/configured_paces.h"
#include "tools/doctor/finding.h"
#include "tools/json_words.h"
#include "tools/visible.h"

namespace korahamonctl::doctor {
namespace {

using KORA::HA::Daemon::support::readFile;
using KORA::HA::Daemon::support::readLine;

constexpr std::size_t wordLimit = 64;
constexpr const char* howToStart =
    "start it as: koraharemotemond LOCAL_ADDRESS PEER_ADDRESS INTERFACE";
constexpr const char* howToRevive =
    "systemctl status koraharemotemond tells whether it runs; if it hangs, restart it, else start "
    "it as: koraharemotemond LOCAL_ADDRESS PEER_ADDRESS INTERFACE";

void examineHealth(const Node& node, Findings& findings) {
    const auto concerns = concernsIn(*node.answer.status, pacesOfFile(node.configuration));
    for (const Concern& concern : concerns) {
        findings.push_back({Verdict::bad, "health",
                            concern.text + (concern.reason.empty() ? "" : ": ") + concern.reason,
                            "korahamonctl status and korahamonctl log tell more"});
    }
    if (concerns.empty()) {
        findings.push_back({Verdict::fine, "health", "the daemon says that all is well", ""});
    }
}

void examineVersion(const Node& node, Findings& findings) {
    const Json::Value& version = (*node.answer.status)["softwareVersion"];
    if (!version.isString() || version.asString() != KORAHA_VERSION) {
        findings.push_back(
            {Verdict::note, "version",
             "the daemon runs " +
                 (version.isString() ? visible(version.asString(), wordLimit) : "an unknown one") +
                 ", this tool is " KORAHA_VERSION,
             "restart the daemon after an upgrade"});
    }
}

std::vector<std::string> argumentsOf(const Node& node) {
    std::string text = readFile(node.procPath("cmdline")).value_or("");
    std::vector<std::string> words;
    for (std::size_t end = 0; (end = text.find('\0')) != std::string::npos;
         text.erase(0, end + 1)) {
        words.push_back(text.substr(0, end));
    }
    return words;
}

int familyOf(const std::string& address) {
    std::array<unsigned char, sizeof(in6_addr)> bytes{};
    for (const int family : {AF_INET, AF_INET6}) {
        if (::inet_pton(family, address.c_str(), bytes.data()) == 1) {
            return family;
        }
    }
    return AF_UNSPEC;
}

Finding examineAddresses(const std::string& local, const std::string& remote) {
    const std::string text = visible(local, wordLimit) + " and " + visible(remote, wordLimit);
    if (familyOf(local) == AF_UNSPEC || familyOf(local) != familyOf(remote) || local == remote) {
        return {Verdict::bad, "addresses", text + " are no two addresses of one kind", howToStart};
    }
    return {Verdict::fine, "addresses", text, ""};
}

Finding examineInterface(const Node& node, const std::string& name) {
    const std::string point = "interface " + visible(name, wordLimit);
    const bool plain = !name.empty() && name.find('/') == std::string::npos && name[0] != '.';
    const auto state =
        plain ? readLine(node.path("/sys/class/net/" + name + "/operstate")) : std::nullopt;
    if (!state) {
        return {Verdict::bad, point, "is not there", howToStart};
    }
    if (*state != "up" && *state != "unknown") {
        return {Verdict::bad, point, "is " + visible(*state, wordLimit),
                "ip link set up; look at the cable and at the other end"};
    }
    return {Verdict::fine, point, "is " + *state, ""};
}

}  // namespace

Findings examineDaemon(const Node& node) {
    if (!node.answer.status) {
        const std::string remedy = node.answer.forbidden ? runAsRoot : howToRevive;
        return {{Verdict::bad, "daemon", "does not answer: " + node.answer.problem, remedy}};
    }
    Findings findings = {{Verdict::fine, "daemon", "answers", ""}};
    examineVersion(node, findings);
    const auto words = argumentsOf(node);
    constexpr std::size_t expected = 4;
    if (words.size() == expected) {
        findings.push_back(examineAddresses(words[1], words[2]));
        findings.push_back(examineInterface(node, words[3]));
    } else {
        findings.push_back({Verdict::note, "arguments", "cannot be read", runAsRoot});
    }
    examineHealth(node, findings);
    return findings;
}

}  // namespace korahamonctl::doctor
