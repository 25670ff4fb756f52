// SPDX-License-Identifier: Apache-2.0
#include "monitor/flag.h"

#include <sys/stat.h>
#include <unistd.h>

#include <fstream>

#include "log/log_line.h"

namespace KORA::HA::Daemon {
namespace {

constexpr int createLine = 87;
constexpr int deleteLine = 94;

bool exists(const std::string& path) {
    struct stat unused {};
    return ::stat(path.c_str(), &unused) == 0;
}

}  // namespace

Flag::Flag(const std::string& path) : path_(path) {}

void Flag::up() {
    if (exists(path_)) {
        return;
    }
    const std::ofstream file(path_, std::ios::out | std::ios::trunc);
    logMessage(createLine, "Create flag: " + path_);
}

void Flag::down() {
    if (!exists(path_)) {
        return;
    }
    ::unlink(path_.c_str());
    logMessage(deleteLine, "Delete flag: " + path_);
}

}  // namespace KORA::HA::Daemon
