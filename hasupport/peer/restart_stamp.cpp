// SPDX-License-Identifier: Apache-2.0
#include "hasupport/peer/restart_stamp.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <ctime>

#include "hasupport/io/boot_identity.h"
#include "hasupport/io/open_file.h"
#include "hasupport/io/trusted_file.h"
#include "hasupport/settings/support_settings.h"

namespace KORA::HA::Daemon::support {
namespace {

constexpr std::size_t sizeLimit = 4096;
constexpr mode_t stampMode = 0600;

bool writeAll(int fd, std::string_view text) {
    while (!text.empty()) {
        const ssize_t sent = ::write(fd, text.data(), text.size());
        if (sent == 0 || (sent < 0 && errno != EINTR)) {
            return false;
        }
        text.remove_prefix(static_cast<std::size_t>(std::max<ssize_t>(sent, 0)));
    }
    return true;
}

bool writeWhole(const std::string& path, const std::string& text) {
    ::unlink(path.c_str());
    const UniqueFd fd = openFile(path, O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW, stampMode);
    return fd && writeAll(fd.get(), text) && ::fsync(fd.get()) == 0;
}

bool syncDirectoryOf(const std::string& path) {
    const std::string directory = path.substr(0, path.rfind('/'));
    const UniqueFd fd = openFile(directory, O_RDONLY | O_DIRECTORY);
    return fd && ::fsync(fd.get()) == 0;
}

}  // namespace

RestartStamp RestartStamp::now(std::string reason, std::string outcome) {
    const BootIdentity boot = bootIdentity();
    return {boot.bootId,
            boot.bootSeconds,
            std::max<std::int64_t>(std::time(nullptr), 0),
            std::move(reason),
            std::move(outcome),
            0,
            0};
}

std::chrono::seconds RestartStamp::age() const {
    const BootIdentity boot = bootIdentity();
    if (!boot.bootId.empty() && boot.bootId == bootId) {
        return std::chrono::seconds(std::max<std::int64_t>(boot.bootSeconds - bootSeconds, 0));
    }
    // It was before this boot; a wall clock that was set back must not make it last for ever.
    const std::int64_t byWall = std::time(nullptr) - wallSeconds;
    return std::chrono::seconds(std::max(byWall, boot.bootSeconds));
}

StampFile readStamp(const std::string& path) {
    const TrustedFile file = readTrustedFile(path, S_IWGRP | S_IWOTH, sizeLimit);
    if (!file.text) {
        return {std::nullopt, file.present};
    }
    auto stamp = parseStamp(*file.text);
    const bool unreadable = !stamp;
    return {std::move(stamp), unreadable};
}

bool writeStamp(const std::string& path, const RestartStamp& stamp) {
    const std::string fresh = path + ".new";
    return writeWhole(fresh, stampText(stamp)) && std::rename(fresh.c_str(), path.c_str()) == 0 &&
           syncDirectoryOf(path);
}

void withdrawStamp(const std::string& path, const RestartStamp& stamp) {
    const auto there = readStamp(path).stamp;
    if (there && stampText(*there) == stampText(stamp)) {
        removeStamp(path);
    }
}

bool removeStamp(const std::string& path) {
    return ::unlink(path.c_str()) == 0 && syncDirectoryOf(path);
}

std::string askedStampPath() {
    return supportSettings().stampDirectory + "/restart.asked";
}
std::string obeyedStampPath() {
    return supportSettings().stampDirectory + "/restart.obeyed";
}

}  // namespace KORA::HA::Daemon::support
