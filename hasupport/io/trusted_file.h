// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <sys/types.h>

#include <cstddef>
#include <optional>
#include <string>

namespace KORA::HA::Daemon::support {

/// What a file that only root may have written holds.
struct TrustedFile {
    bool present = false;             ///< something stands at the path
    std::optional<std::string> text;  ///< the content; nothing when the file is refused
    std::string problem;              ///< why it is refused
    bool shortage = false;            ///< refused for want of descriptors or memory alone
};

/// Reads a regular file of root's, never through a link, that has none of the mode bits in
/// `forbidden`, of at most `limit` bytes. Never blocks on what stands there instead.
TrustedFile readTrustedFile(const std::string& path, mode_t forbidden, std::size_t limit);

}  // namespace KORA::HA::Daemon::support
