// SPDX-License-Identifier: Apache-2.0
#include "tools/log_source.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <utility>

namespace korahamonctl {
namespace {

using KORA::HA::Daemon::support::UniqueFd;

constexpr int keptFiles = 5;

UniqueFd openRegular(const std::string& path) {
    UniqueFd fd(::open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK | O_NOCTTY));
    struct stat info {};
    if (fd && (::fstat(fd.get(), &info) != 0 || !S_ISREG(info.st_mode))) {
        fd.reset();
        errno = S_ISDIR(info.st_mode) ? EISDIR : EINVAL;
    }
    return fd;
}

bool isSameFile(int one, int other) {
    struct stat a {};
    struct stat b {};
    return ::fstat(one, &a) == 0 && ::fstat(other, &b) == 0 && a.st_dev == b.st_dev &&
           a.st_ino == b.st_ino;
}

void readToEnd(int fd, const LogSource::Sink& sink) {
    std::array<char, 16384> chunk;  // NOLINT(cppcoreguidelines-pro-type-member-init): read fills it
    for (;;) {
        const ssize_t got = ::read(fd, chunk.data(), chunk.size());
        if (got > 0) {
            sink({chunk.data(), static_cast<std::size_t>(got)});
        } else if (got == 0 || errno != EINTR) {
            return;
        }
    }
}

// A file that was cut off under us is read anew.
void startAgainIfCut(int fd) {
    struct stat info {};
    if (::fstat(fd, &info) == 0 && info.st_size < ::lseek(fd, 0, SEEK_CUR)) {
        ::lseek(fd, 0, SEEK_SET);
    }
}

}  // namespace

// The newest is opened first: rotated meanwhile, it is found again among the older ones, but none
// is missed.
LogSource::LogSource(std::string path) : path_(std::move(path)), newest_(openRegular(path_)) {
    error_ = newest_ ? 0 : errno;
    for (int number = 1; number <= keptFiles; ++number) {
        UniqueFd fd = openRegular(path_ + "." + std::to_string(number));
        const auto same = [&](const UniqueFd& each) { return isSameFile(each.get(), fd.get()); };
        if (fd && !(newest_ && same(newest_)) && std::none_of(older_.begin(), older_.end(), same)) {
            older_.insert(older_.begin(), std::move(fd));
        }
    }
}

void LogSource::readAll(const Sink& sink) {
    for (const UniqueFd& fd : older_) {
        readToEnd(fd.get(), sink);
    }
    older_.clear();
    if (newest_) {
        readToEnd(newest_.get(), sink);
    }
}

bool LogSource::wasReplaced() const {
    struct stat mine {};
    struct stat there {};
    return ::stat(path_.c_str(), &there) == 0 && ::fstat(newest_.get(), &mine) == 0 &&
           (mine.st_dev != there.st_dev || mine.st_ino != there.st_ino);
}

void LogSource::readMore(const Sink& sink) {
    const bool replaced = newest_ && wasReplaced();
    if (newest_) {
        startAgainIfCut(newest_.get());
        readToEnd(newest_.get(), sink);  // also the last lines before it was replaced
    }
    if (replaced || !newest_) {
        newest_ = openRegular(path_);
        if (newest_) {
            readToEnd(newest_.get(), sink);
        }
    }
}

}  // namespace korahamonctl
