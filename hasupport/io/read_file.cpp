// SPDX-License-Identifier: Apache-2.0
#include "hasupport/io/read_file.h"

#include <fcntl.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <cstdint>
#include <string_view>

#include "hasupport/io/open_file.h"

namespace KORA::HA::Daemon::support {
namespace {

ssize_t readSome(int fd, char* into, std::size_t size) {
    ssize_t got = -1;
    do {
        got = ::read(fd, into, size);
    } while (got < 0 && errno == EINTR);
    return got;
}

/// Where to stop reading before the file says that it is at its end.
enum class Stop : std::uint8_t { atEnd, atNewline, atShortRead };

std::optional<std::string> readFrom(int directory, const char* path, std::size_t limit, Stop stop) {
    const UniqueFd fd = openFileAt(directory, path, O_RDONLY | O_NONBLOCK | O_NOCTTY);
    if (!fd) {
        return std::nullopt;
    }
    std::string text;
    std::array<char, 4096> chunk;  // NOLINT(cppcoreguidelines-pro-type-member-init): filled by read
    for (;;) {
        const ssize_t got = readSome(fd.get(), chunk.data(), chunk.size());
        if (got < 0) {
            return std::nullopt;
        }
        if (got == 0) {
            return text;
        }
        if (text.size() + static_cast<std::size_t>(got) > limit) {
            errno = EFBIG;
            return std::nullopt;
        }
        const std::string_view more(chunk.data(), static_cast<std::size_t>(got));
        text.append(more);
        if ((stop == Stop::atNewline && more.find('\n') != std::string_view::npos) ||
            (stop == Stop::atShortRead && more.size() < chunk.size())) {
            return text;
        }
    }
}

}  // namespace

std::optional<std::string> readFile(const std::string& path, std::size_t limit) {
    return readFrom(AT_FDCWD, path.c_str(), limit, Stop::atEnd);
}

std::optional<std::string> readWholeRecord(const std::string& path, std::size_t limit) {
    return readFrom(AT_FDCWD, path.c_str(), limit, Stop::atShortRead);
}

std::optional<std::string> readLine(const std::string& path) {
    return readLineAt(AT_FDCWD, path.c_str());
}

std::optional<std::string> readLineAt(int directory, const char* path) {
    constexpr std::string_view blanks = " \t\r\n";
    const auto text = readFrom(directory, path, kernelFileLimit, Stop::atNewline);
    if (!text) {
        return std::nullopt;
    }
    const std::string_view line = std::string_view(*text).substr(0, text->find('\n'));
    const auto first = line.find_first_not_of(blanks);
    if (first == std::string_view::npos) {
        return std::string();
    }
    return std::string(line.substr(first, line.find_last_not_of(blanks) - first + 1));
}

}  // namespace KORA::HA::Daemon::support
