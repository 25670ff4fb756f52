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

/// What cannot be looked at may be there.
bool isAbsent(const std::string& path) {
    struct stat info {};
    return ::lstat(path.c_str(), &info) != 0 && errno == ENOENT;
}

/// `error` says why where that cannot be told.
bool isMarked(const std::string& path, const FileMark& mark, int& error) {
    struct stat info {};
    if (::lstat(path.c_str(), &info) != 0) {
        error = errno == ENOENT ? error : errno;
        return false;
    }
    return S_ISREG(info.st_mode) && info.st_dev == mark.device && info.st_ino == mark.inode;
}

bool move(const std::string& from, const std::string& to) {
    return std::rename(from.c_str(), to.c_str()) == 0;
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

// Another file than the one that was marked may be of any kind, and need not let itself be opened.
OpenLogFile LogFile::openMarked(const FileMark& mark) const {
    int error = ENOENT;
    for (int number = 0; number <= keptFiles; ++number) {
        const std::string path = numbered(number);
        if (!isMarked(path, mark, error)) {
            continue;
        }
        auto opened = openRegular(path, O_RDWR);
        const auto found = opened.error() == 0 ? opened.mark() : std::nullopt;
        if (found && found->device == mark.device && found->inode == mark.inode) {
            return opened;
        }
        // What was renamed meanwhile has a higher number now.
        const bool isElsewhere = opened.error() == 0 || opened.error() == ENOENT;
        error = isElsewhere ? error : opened.error();
    }
    return {UniqueFd(), error};
}

std::int64_t LogFile::size() const {
    struct stat info {};
    return ::stat(path_.c_str(), &info) == 0 ? info.st_size : 0;
}

// Shifts up to the first free number only: a rotation that was interrupted left one. What cannot be
// moved away ends it, since the next one would be moved over it.
bool LogFile::rotate() const {
    int last = 1;
    while (last < keptFiles && !isAbsent(numbered(last))) {
        ++last;
    }
    for (int number = last - 1; number >= 1; --number) {
        if (!move(numbered(number), numbered(number + 1)) && errno != ENOENT) {
            return false;
        }
    }
    return move(path_, numbered(1));
}

}  // namespace KORA::HA::Daemon::support
