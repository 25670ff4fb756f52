// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "hasupport/io/unique_fd.h"

namespace KORA::HA::Daemon::support {

/// Reads sysfs for one question. What is absent is an answer: devices come and go, and not every
/// one has every file. What is there and cannot be read is none, and is remembered: the question
/// then has no answer either. One thread.
class SysfsReader {
  public:
    /// The first line of a file, without surrounding blanks.
    std::optional<std::string> line(const std::string& path);
    /// The same for a path that begins at the directory, which may be one that could not be opened.
    std::optional<std::string> line(const UniqueFd& directory, const char* path);
    /// A directory for that.
    UniqueFd directory(const std::string& path);
    /// The names in a directory that begin with `prefix`, sorted.
    std::vector<std::string> entries(const std::string& path, std::string_view prefix = {});
    /// Where a path leads with all its links followed; empty when nowhere.
    std::string realPath(const std::string& path);

    /// The errno of the first thing that could not be read; 0 when there was none.
    int error() const { return error_; }

  private:
    void noteFailure();

    int error_ = 0;
};

}  // namespace KORA::HA::Daemon::support
