// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>
#include <string_view>

namespace KORA::HA::Daemon::support {

/// How much of a batch stands in a file.
struct WrittenPart {
    std::size_t begin = 0;  ///< where it stands, in bytes from the start of `tail`
    std::size_t size = 0;   ///< the first bytes of the batch that are there
};

/// Looks for a batch in what was added to a file since it was about to be written. Others may have
/// added lines too, and the writer may have been stopped anywhere. Pure.
WrittenPart findWrittenPart(std::string_view tail, std::string_view batch);

}  // namespace KORA::HA::Daemon::support
