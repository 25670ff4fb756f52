// SPDX-License-Identifier: Apache-2.0
#include "hasupport/kernel/sysfs_reader.h"

#include <fcntl.h>

#include <cerrno>

#include "hasupport/io/open_file.h"
#include "hasupport/io/read_file.h"
#include "hasupport/kernel/list_directory.h"

namespace KORA::HA::Daemon::support {

void SysfsReader::noteFailure() {
    const bool isAbsent = errno == ENOENT || errno == ENOTDIR || errno == ENODEV || errno == ENXIO;
    if (!isAbsent && error_ == 0) {
        error_ = errno;
    }
}

std::optional<std::string> SysfsReader::line(const std::string& path) {
    auto text = readLine(path);
    if (!text) {
        noteFailure();
    }
    return text;
}

std::optional<std::string> SysfsReader::line(const UniqueFd& directory, const char* path) {
    if (!directory) {
        return std::nullopt;
    }
    auto text = readLineAt(directory.get(), path);
    if (!text) {
        noteFailure();
    }
    return text;
}

UniqueFd SysfsReader::directory(const std::string& path) {
    UniqueFd opened = openFile(path, O_PATH | O_DIRECTORY);
    if (!opened) {
        noteFailure();
    }
    return opened;
}

std::vector<std::string> SysfsReader::entries(const std::string& path, std::string_view prefix) {
    auto names = listDirectory(path, prefix);
    if (!names) {
        noteFailure();
        return {};
    }
    return std::move(*names);
}

std::string SysfsReader::realPath(const std::string& path) {
    std::string real = support::realPath(path);
    if (real.empty()) {
        noteFailure();
    }
    return real;
}

}  // namespace KORA::HA::Daemon::support
