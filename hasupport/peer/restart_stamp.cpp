#include "hasupport/peer/restart_stamp.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <charconv>
#include <cstdio>
#include <ctime>
#include <string_view>

#include "hasupport/io/boot_identity.h"
#include "hasupport/io/trusted_file.h"
#include "hasupport/io/unique_fd.h"
#include "hasupport/settings/support_settings.h"

namespace KORA::HA::Daemon::support {
namespace {

constexpr std::size_t sizeLimit = 4096;
constexpr std::size_t textLimit = 500;
constexpr mode_t stampMode = 0600;

std::string oneLine(std::string text) {
    text.resize(std::min(text.size(), textLimit));
    std::replace_if(
        text.begin(), text.end(), [](char c) { return c < ' ' && c >= 0; }, ' ');
    return text;
}

std::int64_t numberIn(std::string_view text) {
    std::int64_t value = 0;
    std::from_chars(text.data(), text.data() + text.size(), value);
    return value;
}

void readMember(RestartStamp& stamp, std::string_view key, std::string_view value) {
    if (key == "bootId") {
        stamp.bootId = value;
    } else if (key == "bootSeconds") {
        stamp.bootSeconds = numberIn(value);
    } else if (key == "wallSeconds") {
        stamp.wallSeconds = numberIn(value);
    } else if (key == "reason") {
        stamp.reason = value;
    } else if (key == "outcome") {
        stamp.outcome = value;
    } else if (key == "leftSeconds") {
        stamp.leftSeconds = numberIn(value);
    } else if (key == "backSeconds") {
        stamp.backSeconds = numberIn(value);
    }
}

std::string toText(const RestartStamp& stamp) {
    return "bootId=" + stamp.bootId + "\nbootSeconds=" + std::to_string(stamp.bootSeconds) +
           "\nwallSeconds=" + std::to_string(stamp.wallSeconds) +
           "\nreason=" + oneLine(stamp.reason) + "\noutcome=" + oneLine(stamp.outcome) +
           "\nleftSeconds=" + std::to_string(stamp.leftSeconds) +
           "\nbackSeconds=" + std::to_string(stamp.backSeconds) + "\nend\n";
}

bool writeWhole(const std::string& path, const std::string& text) {
    ::unlink(path.c_str());
    const UniqueFd fd(
        ::open(path.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC | O_NOFOLLOW, stampMode));
    return fd && ::write(fd.get(), text.data(), text.size()) == static_cast<ssize_t>(text.size()) &&
           ::fsync(fd.get()) == 0;
}

bool syncDirectoryOf(const std::string& path) {
    const std::string directory = path.substr(0, path.rfind('/'));
    const UniqueFd fd(::open(directory.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    return fd && ::fsync(fd.get()) == 0;
}

}  // namespace

RestartStamp RestartStamp::now(std::string reason, std::string outcome) {
    const BootIdentity boot = bootIdentity();
    return {boot.bootId,
            boot.bootSeconds,
            std::time(nullptr),
            std::move(reason),
            std::move(outcome),
            0,
            0};
}

std::chrono::seconds RestartStamp::age() const {
    const BootIdentity boot = bootIdentity();
    if (!boot.bootId.empty() && boot.bootId == bootId) {
        return std::chrono::seconds(boot.bootSeconds - bootSeconds);
    }
    // After a restart only the wall clock is left; it may have been set back since.
    const std::int64_t byWall = std::time(nullptr) - wallSeconds;
    return std::chrono::seconds(std::max<std::int64_t>(byWall, 0));
}

StampFile readStamp(const std::string& path) {
    const TrustedFile file = readTrustedFile(path, S_IWGRP | S_IWOTH, sizeLimit);
    if (!file.text) {
        return {std::nullopt, file.present};
    }
    RestartStamp stamp;
    std::string_view rest = *file.text;
    while (!rest.empty()) {
        const auto end = rest.find('\n');
        const std::string_view line = rest.substr(0, end);
        if (line == "end") {
            return {stamp, false};
        }
        const auto equals = line.find('=');
        if (equals != std::string_view::npos) {
            readMember(stamp, line.substr(0, equals), line.substr(equals + 1));
        }
        rest = end == std::string_view::npos ? std::string_view() : rest.substr(end + 1);
    }
    return {std::nullopt, true};  // cut off: it does not tell what it was
}

bool writeStamp(const std::string& path, const RestartStamp& stamp) {
    const std::string fresh = path + ".new";
    return writeWhole(fresh, toText(stamp)) && std::rename(fresh.c_str(), path.c_str()) == 0 &&
           syncDirectoryOf(path);
}

std::string askedStampPath() {
    return supportSettings().stampDirectory + "/restart.asked";
}
std::string obeyedStampPath() {
    return supportSettings().stampDirectory + "/restart.obeyed";
}

}  // namespace KORA::HA::Daemon::support
