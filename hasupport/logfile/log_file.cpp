#include "hasupport/logfile/log_file.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <utility>

#include "hasupport/io/unique_fd.h"

namespace KORA::HA::Daemon::support {
namespace {

constexpr mode_t fileMode = 0640;
constexpr mode_t directoryMode = 0750;
constexpr int keptFiles = 5;

int openToAppend(const std::string& path) {
    int fd = -1;
    do {
        fd = ::open(path.c_str(),
                    O_WRONLY | O_APPEND | O_CREAT | O_CLOEXEC | O_NOFOLLOW | O_NONBLOCK | O_NOCTTY,
                    fileMode);
    } while (fd < 0 && errno == EINTR);
    return fd;
}

bool isRegular(int fd) {
    struct stat info {};
    return ::fstat(fd, &info) == 0 && S_ISREG(info.st_mode);
}

}  // namespace

LogFile::LogFile(std::string directory, const std::string& fileName)
    : directory_(std::move(directory)), path_(directory_ + fileName) {}

WriteOutcome LogFile::append(std::string_view bytes) const {
    UniqueFd fd(openToAppend(path_));
    if (!fd && errno == ENOENT) {
        ::mkdir(directory_.c_str(), directoryMode);
        fd.reset(openToAppend(path_));
    }
    if (!fd) {
        return {0, errno};
    }
    if (!isRegular(fd.get())) {
        return {0, EINVAL};
    }
    WriteOutcome outcome;
    while (outcome.written < bytes.size()) {
        const std::string_view rest = bytes.substr(outcome.written);
        const ssize_t sent = ::write(fd.get(), rest.data(), rest.size());
        if (sent > 0) {
            outcome.written += static_cast<std::size_t>(sent);
        } else if (sent == 0 || errno != EINTR) {
            outcome.error = sent == 0 ? ENOSPC : errno;
            break;
        }
    }
    ::fdatasync(fd.get());  // its failure does not undo what was written
    return outcome;
}

std::int64_t LogFile::size() const {
    struct stat info {};
    return ::stat(path_.c_str(), &info) == 0 ? info.st_size : 0;
}

bool LogFile::rotate() const {
    for (int number = keptFiles - 1; number >= 1; --number) {
        const std::string from = path_ + "." + std::to_string(number);
        const std::string to = path_ + "." + std::to_string(number + 1);
        std::rename(from.c_str(), to.c_str());  // most often there is none
    }
    return std::rename(path_.c_str(), (path_ + ".1").c_str()) == 0;
}

}  // namespace KORA::HA::Daemon::support
