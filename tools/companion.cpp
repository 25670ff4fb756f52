// SPDX-License-Identifier: Apache-2.0
#include "tools/companion.h"

#include <unistd.h>

#include <array>
#include <cerrno>
#include <climits>
#include <cstring>
#include <ostream>
#include <string_view>

#include "tools/exit_codes.h"
#include "tools/visible.h"

namespace korahamonctl {
namespace {

// From the directory of the tool, as both are installed.
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

int becomeCompanion(const std::string& name, char** argv, std::ostream& err) {
    const std::string directory = ownDirectory();
    std::string path = directory + name;
    if (!directory.empty()) {
        ::execv(path.c_str(), argv);
    }
    if (errno == ENOENT && !directory.empty()) {
        path = directory + installedPlace + "/" + name;
        ::execv(path.c_str(), argv);
    }
    err << "korahamonctl: cannot run " << visible(path) << ": " << std::strerror(errno) << '\n';
    return exitConcern;
}

}  // namespace korahamonctl
