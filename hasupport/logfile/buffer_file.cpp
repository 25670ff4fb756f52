// SPDX-License-Identifier: Apache-2.0
#include "hasupport/logfile/buffer_file.h"

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <cstdio>
#include <cstring>

#include "hasupport/logfile/checksum.h"

namespace KORA::HA::Daemon::support {
namespace {

constexpr mode_t directoryMode = 0700;
constexpr mode_t fileMode = 0600;
constexpr int replacedTries = 3;
constexpr std::size_t readableNameLimit = 64;

std::string problemWithDirectory(int fd) {
    struct stat info {};
    if (::fstat(fd, &info) != 0) {
        return std::strerror(errno);
    }
    if (info.st_uid != ::geteuid() || (info.st_mode & (S_IWGRP | S_IWOTH)) != 0) {
        return "others can write to the directory";
    }
    return {};
}

std::string problemWithFile(const struct stat& info) {
    if (!S_ISREG(info.st_mode)) {
        return "is not a regular file";
    }
    if (info.st_uid != ::geteuid()) {
        return "belongs to someone else";
    }
    if ((info.st_mode & (S_IRWXG | S_IRWXO)) != 0) {
        return "has a mode that lets others at it";
    }
    if (info.st_nlink > 1) {
        return "has a second name";
    }
    return {};
}

UniqueFd openDirectory(const BufferPlace& place) {
    constexpr int flags = O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC;
    UniqueFd fd(::open(place.directory.c_str(), flags));
    if (!fd && errno == ENOENT && place.make) {
        ::mkdir(place.directory.c_str(), directoryMode);
        fd.reset(::open(place.directory.c_str(), flags));
    }
    return fd;
}

// Whether the name still leads to what was opened: it may have been set aside before it was locked.
bool isStill(int directory, const std::string& name, const struct stat& opened) {
    struct stat now {};
    return ::fstatat(directory, name.c_str(), &now, AT_SYMLINK_NOFOLLOW) == 0 &&
           now.st_dev == opened.st_dev && now.st_ino == opened.st_ino;
}

/// One try; false when the file was replaced meanwhile.
bool tryOpen(int directory, const std::string& name, bool make, BufferFile& file) {
    const int flags = O_RDWR | O_CLOEXEC | O_NOFOLLOW | O_NONBLOCK | O_NOCTTY;
    file.fd.reset(::openat(directory, name.c_str(), flags | (make ? O_CREAT : 0), fileMode));
    struct stat info {};
    if (!file.fd || ::fstat(file.fd.get(), &info) != 0) {
        file.trouble.absent = errno == ENOENT && !make;
        file.trouble.text = errno == ELOOP ? "is a link" : std::strerror(errno);
        return true;
    }
    file.trouble.text = problemWithFile(info);
    if (file.trouble.text.empty() && ::flock(file.fd.get(), LOCK_EX | LOCK_NB) != 0) {
        file.trouble.busy = errno == EWOULDBLOCK;
        file.trouble.text =
            file.trouble.busy ? "is in use by another process" : std::strerror(errno);
    }
    return !file.trouble.text.empty() || isStill(directory, name, info);
}

}  // namespace

std::string bufferName(const std::string& path) {
    std::string readable = path.substr(path.rfind('/') + 1).substr(0, readableNameLimit);
    for (char& c : readable) {
        const bool plain = (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') ||
                           (c >= '0' && c <= '9') || c == '.' || c == '-' || c == '_';
        c = plain ? c : '_';
    }
    std::array<char, 32> number{};
    std::snprintf(number.data(), number.size(), ".%016llx.lines",
                  static_cast<unsigned long long>(checksum(path)));
    return readable + number.data();
}

BufferFile openBufferFile(const BufferPlace& place, const std::string& name) {
    BufferFile file;
    const UniqueFd directory = openDirectory(place);
    if (!directory) {
        file.trouble.absent = errno == ENOENT && !place.make;
        file.trouble.text = std::strerror(errno);
    } else {
        file.trouble.text = problemWithDirectory(directory.get());
        bool settled = !file.trouble.text.empty();
        for (int tries = 0; !settled && tries < replacedTries; ++tries) {
            settled = tryOpen(directory.get(), name, place.make, file);
        }
        file.trouble.text = settled ? file.trouble.text : "is being replaced";
    }
    if (!file.trouble.text.empty()) {
        file.fd.reset();
        file.trouble.text.insert(0, place.directory + "/" + name + ": ");
    }
    return file;
}

void removeBuffer(const BufferPlace& place, const std::string& name) {
    ::unlink((place.directory + "/" + name).c_str());
}

bool setBufferAside(const BufferPlace& place, const std::string& name, unsigned version) {
    const std::string from = place.directory + "/" + name;
    const std::string to = from + ".version-" + std::to_string(version);
    return ::renameat2(AT_FDCWD, from.c_str(), AT_FDCWD, to.c_str(), RENAME_NOREPLACE) == 0;
}

}  // namespace KORA::HA::Daemon::support
