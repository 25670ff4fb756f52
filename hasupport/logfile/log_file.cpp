// SPDX-License-Identifier: Apache-2.0
#include "hasupport/logfile/log_file.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <utility>

namespace KORA::HA::Daemon::support {
namespace {

constexpr mode_t fileMode = 0640;
constexpr mode_t directoryMode = 0750;
constexpr int keptFiles = 5;

constexpr int baseFlags = O_APPEND | O_CLOEXEC | O_NOFOLLOW | O_NONBLOCK | O_NOCTTY;

// Never waits for what stands there instead of a file.
OpenLogFile openRegular(const std::string& path, int flags) {
    int fd = -1;
    do {
        fd = ::open(path.c_str(), baseFlags | flags, fileMode);
    } while (fd < 0 && errno == EINTR);
    if (fd < 0) {
        return {UniqueFd(), errno};
    }
    UniqueFd owned(fd);
    struct stat info {};
    if (::fstat(fd, &info) != 0) {
        return {UniqueFd(), errno};
    }
    if (!S_ISREG(info.st_mode)) {
        return {UniqueFd(), EINVAL};
    }
    return {std::move(owned), 0};
}

bool exists(const std::string& path) {
    struct stat info {};
    return ::lstat(path.c_str(), &info) == 0;
}

}  // namespace

LogFile::LogFile(std::string directory, const std::string& fileName)
    : directory_(std::move(directory)), path_(directory_ + fileName) {}

std::string LogFile::numbered(int number) const {
    return number == 0 ? path_ : path_ + "." + std::to_string(number);
}

OpenLogFile LogFile::openToAppend() const {
    auto opened = openRegular(path_, O_WRONLY | O_CREAT);
    if (opened.error() == ENOENT) {
        ::mkdir(directory_.c_str(), directoryMode);
        return openRegular(path_, O_WRONLY | O_CREAT);
    }
    return opened;
}

OpenLogFile LogFile::openMarked(const FileMark& mark) const {
    int error = ENOENT;
    for (int number = 0; number <= keptFiles; ++number) {
        auto opened = openRegular(numbered(number), O_RDWR);
        const auto found = opened.error() == 0 ? opened.mark() : std::nullopt;
        if (found && found->device == mark.device && found->inode == mark.inode) {
            return opened;
        }
        // What stands there but cannot be read may be the one.
        const int notIt[] = {0, ENOENT, EINVAL, ELOOP, EISDIR, ENXIO};
        bool mayBeIt = true;
        for (const int each : notIt) {
            mayBeIt = mayBeIt && opened.error() != each;
        }
        error = mayBeIt ? opened.error() : error;
    }
    return {UniqueFd(), error};
}

std::int64_t LogFile::size() const {
    struct stat info {};
    return ::stat(path_.c_str(), &info) == 0 ? info.st_size : 0;
}

// Shifts up to the first free number only: a rotation that was interrupted left one.
bool LogFile::rotate() const {
    int last = 1;
    while (last < keptFiles && exists(numbered(last))) {
        ++last;
    }
    for (int number = last - 1; number >= 1; --number) {
        std::rename(numbered(number).c_str(), numbered(number + 1).c_str());
    }
    return std::rename(path_.c_str(), numbered(1).c_str()) == 0;
}

}  // namespace KORA::HA::Daemon::support
