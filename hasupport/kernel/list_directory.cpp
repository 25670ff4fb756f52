#include "hasupport/kernel/list_directory.h"

#include <dirent.h>

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <memory>

namespace KORA::HA::Daemon::support {
namespace {

constexpr std::size_t nameLimit = 4096;

struct CloseDirectory {
    void operator()(DIR* directory) const { ::closedir(directory); }
};

struct Free {
    void operator()(char* text) const { std::free(text); }  // NOLINT: what realpath gave
};

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

std::string realPath(const std::string& path) {
    const std::unique_ptr<char, Free> real(::realpath(path.c_str(), nullptr));
    return real ? std::string(real.get()) : std::string();
}

}  // namespace KORA::HA::Daemon::support
