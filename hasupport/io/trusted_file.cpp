// SPDX-License-Identifier: Apache-2.0
#include "hasupport/io/trusted_file.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>

#include "hasupport/io/open_file.h"
#include "hasupport/io/shortage.h"

namespace KORA::HA::Daemon::support {
namespace {

std::string problemWith(const struct stat& info, mode_t forbidden, std::size_t limit) {
    if (!S_ISREG(info.st_mode)) {
        return "is not a regular file";
    }
    if (info.st_uid != 0) {
        return "is not owned by root";
    }
    if ((info.st_mode & forbidden) != 0) {
        return "has a mode that lets others at it";
    }
    if (info.st_nlink > 1) {  // none: it was replaced just now, and is what stood there
        return "has a second name";
    }
    if (info.st_size < 0 || static_cast<std::size_t>(info.st_size) > limit) {
        return "is too large";
    }
    return {};
}

std::optional<std::string> readAll(int fd, std::size_t size) {
    std::string text(size, '\0');
    std::size_t have = 0;
    while (have < size) {
        const ssize_t got = ::read(fd, text.data() + have, size - have);
        if (got == 0 || (got < 0 && errno != EINTR)) {
            return std::nullopt;
        }
        have += got > 0 ? static_cast<std::size_t>(got) : 0;
    }
    return text;
}

}  // namespace

TrustedFile readTrustedFile(const std::string& path, mode_t forbidden, std::size_t limit) {
    TrustedFile file;
    const UniqueFd fd = openFile(path, O_RDONLY | O_NOFOLLOW | O_NONBLOCK | O_NOCTTY);
    if (!fd) {
        file.present = errno != ENOENT && errno != ENOTDIR;
        file.shortage = isShortage(errno);
        file.problem = errno == ELOOP ? "is a link" : std::strerror(errno);
        return file;
    }
    file.present = true;
    struct stat info {};
    if (::fstat(fd.get(), &info) != 0) {
        file.problem = std::strerror(errno);
        return file;
    }
    file.problem = problemWith(info, forbidden, limit);
    if (file.problem.empty()) {
        file.text = readAll(fd.get(), static_cast<std::size_t>(info.st_size));
        file.problem = file.text ? "" : "cannot be read";
    }
    return file;
}

}  // namespace KORA::HA::Daemon::support
