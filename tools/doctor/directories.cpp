// SPDX-License-Identifier: Apache-2.0
#include <sys/stat.h>
#include <sys/statvfs.h>
#include <unistd.h>

#include <cerrno>
#include <cstdint>
#include <cstring>

#include "tools/doctor/finding.h"

namespace korahamonctl::doctor {
namespace {

constexpr std::uint64_t roomForLogs = std::uint64_t{16} << 20U;

// Empty when the directory is one of root's that nobody with one of these rights may change.
std::string problemWith(const std::string& path, mode_t forbidden) {
    struct stat info {};
    if (::lstat(path.c_str(), &info) != 0) {
        return std::strerror(errno);
    }
    if (!S_ISDIR(info.st_mode)) {
        return "is no directory";
    }
    if (info.st_uid != 0) {
        return "does not belong to root";
    }
    if ((info.st_mode & forbidden) != 0) {
        return (info.st_mode & S_IWOTH) != 0 ? "may be changed by everybody"
                                             : "may be changed by its group";
    }
    return "";
}

bool isMissing(const std::string& path) {
    struct stat info {};
    return ::lstat(path.c_str(), &info) != 0 && errno == ENOENT;
}

Finding examine(const Node& node, const std::string& path, const std::string& remedy,
                mode_t forbidden = S_IWOTH) {
    const std::string problem = problemWith(node.path(path), forbidden);
    if (problem.empty()) {
        return {Verdict::fine, "directory " + path, "is there", ""};
    }
    return {Verdict::bad, "directory " + path, problem, remedy};
}

// What the daemon makes by itself when it is missing.
Finding examineOwn(const Node& node, const std::string& path, mode_t forbidden) {
    if (isMissing(node.path(path))) {
        return {Verdict::note, "directory " + path, "is not there yet: the daemon makes it",
                "nothing, or start the daemon"};
    }
    return examine(node, path, "make it a directory of root that nobody else may write to",
                   forbidden);
}

Finding examineRoom(const Node& node) {
    const std::string path = "/var/log/ha";
    struct statvfs room {};
    const bool there = ::statvfs(node.path(path).c_str(), &room) == 0 ||
                       ::statvfs(node.path("/var/log").c_str(), &room) == 0;
    if (!there) {
        return {Verdict::bad, "room for the logs", std::strerror(errno), "make /var/log"};
    }
    if ((room.f_flag & ST_RDONLY) != 0) {
        return {Verdict::bad, "room for the logs", "the file system is read-only",
                "mount it for writing"};
    }
    const std::uint64_t free = std::uint64_t{room.f_bavail} * room.f_frsize;
    const std::string text = std::to_string(free >> 20U) + " MiB are free";
    if (free < roomForLogs) {
        return {Verdict::bad, "room for the logs", text, "make room for at least 16 MiB"};
    }
    return {Verdict::fine, "room for the logs", text, ""};
}

}  // namespace

Findings examineDirectories(const Node& node) {
    Findings findings;
    findings.push_back(examine(node, "/tmp/ha",
                               "install -d -o root -m 0755 /tmp/ha, at each boot: without it there "
                               "is no busy flag"));
    findings.push_back(examine(node, "/var/lib/ha",
                               "install -d -o root -m 0755 /var/lib/ha: without it the peer is "
                               "never restarted"));
    findings.push_back(examineOwn(node, "/var/log/ha", S_IWOTH));
    findings.push_back(examineRoom(node));
    // The buffers of the logs lie there: the daemon does without them where its group may write.
    findings.push_back(examineOwn(node, "/run/koraha", S_IWGRP | S_IWOTH));
    if (::access(node.path("/var/lib/ha/maintenance").c_str(), F_OK) == 0) {
        findings.push_back({Verdict::note, "maintenance",
                            "the marker forbids that this node restarts its peer",
                            "remove /var/lib/ha/maintenance when the work is done"});
    }
    return findings;
}

}  // namespace korahamonctl::doctor
