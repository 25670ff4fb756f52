// SPDX-License-Identifier: Apache-2.0
#include <fcntl.h>
#include <sodium.h>
#include <sys/stat.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <cstring>

#include "hasupport/io/open_file.h"
#include "hasupport/io/read_file.h"
#include "hasupport/io/trusted_file.h"
#include "hasupport/peer/peer_key.h"
#include "tools/check_config.h"
#include "tools/doctor/finding.h"
#include "tools/visible.h"

namespace korahamonctl::doctor {
namespace {

using namespace KORA::HA::Daemon::support;  // NOLINT(google-build-using-namespace)

constexpr const char* clusterTool = "/var/packages/Twinhold/target/sbin/koraha";
constexpr const char* settingsFile = "/var/lib/ha/hasupport.conf";
constexpr std::size_t settingsLimit = std::size_t{64} << 10U;
constexpr std::size_t textLimit = 300;

std::string joined(const std::vector<std::string>& texts) {
    std::string all;
    for (const std::string& text : texts) {
        all += (all.empty() ? "" : "; ") + text;
    }
    return visible(all, textLimit);
}

std::string hex(const KeyId& id) {
    std::array<char, 2 * sizeof(KeyId) + 1> text{};
    ::sodium_bin2hex(text.data(), text.size(), id.data(), id.size());
    return text.data();
}

// Whether a file is there that this user may not read; root may, so nothing is wrong with it yet.
bool isHidden(const std::string& path) {
    constexpr int flags = O_RDONLY | O_NOFOLLOW | O_NONBLOCK | O_NOCTTY;
    return ::geteuid() != 0 && !openFile(path, flags) && errno == EACCES;
}

// Empty when the program can be run and only root may change it.
std::string problemWith(const std::string& program) {
    struct stat info {};
    if (::stat(program.c_str(), &info) != 0) {
        return std::strerror(errno);
    }
    if (!S_ISREG(info.st_mode) || (info.st_mode & (S_IXUSR | S_IXGRP | S_IXOTH)) == 0) {
        return "cannot be run";
    }
    return info.st_uid != 0 || (info.st_mode & S_IWOTH) != 0 ? "may be changed by others than root"
                                                             : "";
}

Finding examineProgram(const Node& node, const std::string& point, const std::string& program,
                       const std::string& remedy) {
    const std::string problem = problemWith(node.path(program));
    if (problem.empty()) {
        return {Verdict::fine, point, visible(program, textLimit) + " can be run", ""};
    }
    return {Verdict::bad, point, visible(program, textLimit) + ": " + problem, remedy};
}

}  // namespace

Findings examineConfiguration(const Node& node) {
    const std::string point = "configuration";
    const auto text = readFile(node.configuration);
    if (!text && errno == ENOENT) {
        return {{Verdict::fine, point, "there is none: every setting has its default", ""}};
    }
    if (!text) {
        return {{Verdict::bad, point, std::string("cannot be read: ") + std::strerror(errno),
                 "make " + visible(node.configuration, textLimit) + " a readable file"}};
    }
    const auto problems = checkConfigText(*text).problems;
    if (!problems.empty()) {
        return {{Verdict::bad, point, joined(problems),
                 "mend what korahamonctl check-config names, and restart the daemon"}};
    }
    return {{Verdict::fine, point, "is fine", ""}};
}

Findings examineSettings(Node& node) {
    const std::string point = "support settings";
    const TrustedFile file =
        readTrustedFile(node.path(settingsFile), S_IWGRP | S_IWOTH, settingsLimit);
    if (!file.present) {
        return {{Verdict::fine, point, "there is no file: every setting has its default", ""}};
    }
    if (!file.text && isHidden(node.path(settingsFile))) {
        return {{Verdict::note, point, "cannot be read", runAsRoot}};
    }
    const std::string remedy = std::string("mend ") + settingsFile + ", and restart the daemon";
    if (!file.text) {
        return {{Verdict::bad, point, "the file is ignored: it " + file.problem, remedy}};
    }
    std::vector<std::string> problems;
    node.settings = parseSupportSettings(*file.text, problems);
    if (!problems.empty()) {
        return {{Verdict::bad, point, joined(problems), remedy}};
    }
    return {{Verdict::fine, point, "are fine", ""}};
}

Findings examineKey(const Node& node) {
    const std::string point = "key for the peer";
    const std::string path = node.path("/var/lib/ha/peer.key");
    const PeerKeys keys = readPeerKeys(path);
    if (!keys.usable() && (isHidden(path) || isHidden(path + ".next"))) {
        return {{Verdict::note, point, "cannot be read", runAsRoot}};
    }
    if (!keys.usable()) {
        return {{Verdict::bad, point, "is refused: " + visible(keys.problem, textLimit),
                 "make it 32 bytes of root's with mode 0600, the same on both nodes"}};
    }
    if (keys.keys.empty()) {
        return {{Verdict::note, point,
                 "there is none: neither node restarts the other at its request",
                 "korahamonctl peer-key new on one node, and copy the file to the other"}};
    }
    Findings findings = {{Verdict::fine, point,
                          "has the fingerprint " + hex(keys.keys.front().id) +
                              ", which must be the same on the peer",
                          ""}};
    if (keys.keys.size() > 1) {
        findings.push_back({Verdict::note, point, "a key to come is there, not in force yet",
                            "korahamonctl peer-key new --commit, once both nodes hold it"});
    }
    return findings;
}

Findings examinePrograms(const Node& node) {
    Findings findings = {
        examineProgram(node, "cluster tool", clusterTool,
                       "install the cluster's tool: without it nobody is notified")};
    if (node.settings.restart != RestartMethod::request) {
        findings.push_back(examineProgram(node, "restart command",
                                          node.settings.restartCommand.front(),
                                          "make it a program of root's that can be run"));
    }
    if (!node.settings.orderlyCommand.empty()) {
        findings.push_back(examineProgram(node, "orderly command",
                                          node.settings.orderlyCommand.front(),
                                          "make it a program of root's that can be run"));
    }
    return findings;
}

}  // namespace korahamonctl::doctor
