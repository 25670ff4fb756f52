// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <functional>
#include <string>
#include <string_view>
#include <vector>

#include "hasupport/io/unique_fd.h"

namespace korahamonctl {

/// A log with the files that it was rotated into (FILE.5, the oldest, to FILE.1). Each byte is
/// given once, in the order of writing, also when the log is rotated meanwhile. Used by one thread.
class LogSource {
  public:
    using Sink = std::function<void(std::string_view bytes)>;

    explicit LogSource(std::string path);

    /// Whether there is any file to read.
    bool isThere() const { return static_cast<bool>(newest_) || !older_.empty(); }
    /// Why the newest file could not be opened, an errno.
    int error() const { return error_; }
    /// Gives all that is there now. Call it once, before `readMore`.
    void readAll(const Sink& sink);
    /// Gives what has come since; nothing when nothing has.
    void readMore(const Sink& sink);

  private:
    using UniqueFd = KORA::HA::Daemon::support::UniqueFd;

    bool wasReplaced() const;

    std::string path_;
    UniqueFd newest_;
    int error_ = 0;
    std::vector<UniqueFd> older_;  // the oldest first
};

}  // namespace korahamonctl
