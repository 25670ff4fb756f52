// SPDX-License-Identifier: Apache-2.0
#include "tools/companion.h"

#include <unistd.h>

#include <array>
#include <cerrno>
#include <climits>
#include <cstring>
#include <string_view>

#include "tools/visible.h"

namespace korahamonctl {
namespace {

// From the directory of the program that people start, as all are installed.
constexpr const char* installedPlace = KORAHA_COMPANIONS;

// With the slash at its end; empty when the system does not tell.
std::string ownDirectory() {
    std::array<char, PATH_MAX> path{};
    const ssize_t length = ::readlink("/proc/self/exe", path.data(), path.size());
    if (length <= 0) {
        return "";
    }
    const std::string_view whole(path.data(), static_cast<std::size_t>(length));
    return std::string(whole.substr(0, whole.rfind('/') + 1));
}

}  // namespace

std::string becomeCompanion(const std::string& name, char** argv) {
    const std::string directory = ownDirectory();
    std::string path = directory + name;
    if (!directory.empty()) {
        ::execv(path.c_str(), argv);
    }
    if (errno == ENOENT && !directory.empty()) {
        path = directory + installedPlace + "/" + name;
        ::execv(path.c_str(), argv);
    }
    return "korahamonctl: cannot run " + visible(path) + ": " + std::strerror(errno) + "\n";
}

}  // namespace korahamonctl
