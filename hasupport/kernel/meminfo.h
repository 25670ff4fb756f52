// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>
#include <string_view>
#include <vector>

namespace KORA::HA::Daemon::support {

/// One figure of /proc/meminfo.
struct MemoryFigure {
    std::string_view name;  ///< part of the parsed text
    std::uint64_t kilobytes = 0;
};

/// The figures that are given in kB, in the file's order; lines of any other form are passed over.
std::vector<MemoryFigure> parseMeminfo(std::string_view text);

}  // namespace KORA::HA::Daemon::support
