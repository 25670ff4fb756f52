// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>

namespace KORA::HA::Daemon {

/// Lowered when the daemon starts, raised when the peer comes into reach, lowered when it has been
/// out of reach for two cycles; other programs test it.
inline constexpr const char* remoteBusyFlagPath = "/tmp/ha/ha_remote_busy";

/// A flag file: other programs read a condition from its mere existence. Made for one call; looks
/// at the file system afresh each time and keeps no state. One thread per file: looking and acting
/// are two steps.
class Flag {
  public:
    explicit Flag(const std::string& path);

    /// Creates the file unless something of that name exists, and logs that it did. A creation
    /// that fails is not noticed: the line is logged all the same.
    void up();

    /// Removes the file if there is one, and logs that it did, even when the removal failed.
    void down();

  private:
    std::string path_;
};

}  // namespace KORA::HA::Daemon
