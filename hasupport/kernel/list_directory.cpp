// SPDX-License-Identifier: Apache-2.0
#include "hasupport/kernel/list_directory.h"

#include <dirent.h>
#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <climits>
#include <cstdlib>
#include <memory>

#include "hasupport/io/open_file.h"

namespace KORA::HA::Daemon::support {
namespace {

constexpr std::size_t nameLimit = 4096;

struct CloseDirectory {
    void operator()(DIR* directory) const { ::closedir(directory); }
};

struct Free {
    void operator()(char* text) const { std::free(text); }  // NOLINT: what realpath gave
};

/// Where there is no /proc to ask.
std::string slowRealPath(const std::string& path) {
    const std::unique_ptr<char, Free> real(::realpath(path.c_str(), nullptr));
    return real ? std::string(real.get()) : std::string();
}

}  // namespace

std::optional<std::vector<std::string>> listDirectory(const std::string& path,
                                                      std::string_view prefix) {
    const std::unique_ptr<DIR, CloseDirectory> directory(::opendir(path.c_str()));
    if (!directory) {
        return std::nullopt;
    }
    std::vector<std::string> names;
    while (names.size() < nameLimit) {
        errno = 0;
        const dirent* const entry = ::readdir(directory.get());
        if (entry == nullptr) {
            if (errno != 0) {
                return std::nullopt;
            }
            break;
        }
        const std::string_view name(&entry->d_name[0]);
        if (name.front() != '.' && name.substr(0, prefix.size()) == prefix) {
            names.emplace_back(name);
        }
    }
    std::sort(names.begin(), names.end());
    return names;
}

std::string_view baseName(std::string_view path) {
    const auto slash = path.rfind('/');
    return slash == std::string_view::npos ? path : path.substr(slash + 1);
}

std::string linkTarget(const std::string& path) {
    std::array<char, PATH_MAX> target;  // NOLINT(cppcoreguidelines-pro-type-member-init)
    const ssize_t length = ::readlink(path.c_str(), target.data(), target.size());
    return length > 0 && static_cast<std::size_t>(length) < target.size()
               ? std::string(target.data(), static_cast<std::size_t>(length))
               : std::string();
}

// The kernel follows all links at once and says where it came to; the C library's realpath asks for
// every part of the path in turn.
std::string realPath(const std::string& path) {
    const UniqueFd place = openFile(path, O_PATH);
    if (!place) {
        return {};
    }
    std::string real = linkTarget("/proc/self/fd/" + std::to_string(place.get()));
    return !real.empty() && real.front() == '/' ? real : slowRealPath(path);
}

}  // namespace KORA::HA::Daemon::support