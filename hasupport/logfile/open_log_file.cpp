// SPDX-License-Identifier: Apache-2.0
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>

#include "hasupport/logfile/log_file.h"

namespace KORA::HA::Daemon::support {

std::optional<FileMark> OpenLogFile::mark() const {
    struct stat info {};
    if (::fstat(fd_.get(), &info) != 0) {
        return std::nullopt;
    }
    return FileMark{info.st_dev, info.st_ino, static_cast<std::uint64_t>(info.st_size)};
}

WriteOutcome OpenLogFile::append(std::string_view bytes) const {
    WriteOutcome outcome;
    while (outcome.written < bytes.size()) {
        const std::string_view rest = bytes.substr(outcome.written);
        const ssize_t sent = ::write(fd_.get(), rest.data(), rest.size());
        if (sent > 0) {
            outcome.written += static_cast<std::size_t>(sent);
        } else if (sent == 0 || errno != EINTR) {
            outcome.error = sent == 0 ? ENOSPC : errno;
            break;
        }
    }
    return outcome;
}

std::optional<std::string> OpenLogFile::readFrom(std::uint64_t offset, std::size_t limit) const {
    const auto now = mark();
    if (!now) {
        return std::nullopt;
    }
    const std::uint64_t there = now->size > offset ? now->size - offset : 0;
    std::string text(static_cast<std::size_t>(std::min<std::uint64_t>(there, limit)), '\0');
    std::size_t have = 0;
    while (have < text.size()) {
        const ssize_t got = ::pread(fd_.get(), text.data() + have, text.size() - have,
                                    static_cast<off_t>(offset + have));
        if (got == 0) {
            break;  // someone cut it meanwhile
        }
        if (got < 0 && errno != EINTR) {
            return std::nullopt;
        }
        have += got > 0 ? static_cast<std::size_t>(got) : 0;
    }
    text.resize(have);
    return text;
}

bool OpenLogFile::cut(std::uint64_t size, std::uint64_t newSize) const {
    const auto now = mark();
    return now && now->size == size && ::ftruncate(fd_.get(), static_cast<off_t>(newSize)) == 0;
}

void OpenLogFile::sync() const {
    ::fdatasync(fd_.get());
}

}  // namespace KORA::HA::Daemon::support
