// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace KORA::HA::Daemon::support {

/// What /proc/PID/stat tells of a process.
struct ProcessStat {
    std::uint64_t pid = 0;
    std::uint64_t parent = 0;
    std::string name;  ///< as the process gave it to itself: any bytes
    char state = '?';
    std::uint64_t flags = 0;
    std::uint64_t userTicks = 0;  ///< CPU time, in clock ticks (100 a second)
    std::uint64_t systemTicks = 0;
    std::uint64_t threads = 0;
    std::uint64_t startTicks = 0;  ///< since boot
    std::uint64_t residentPages = 0;

    bool isKernelThread() const;
};

/// Parses the file's text. The name stands in parentheses and may hold blanks and parentheses of
/// its own: it ends at the last one. Nothing when the text is cut short.
std::optional<ProcessStat> parseProcessStat(std::string_view text);

/// The value of a line "KEY:\tVALUE kB" of /proc/PID/status, such as VmLck; nothing without it.
std::optional<std::uint64_t> parseStatusKilobytes(std::string_view text, std::string_view key);

}  // namespace KORA::HA::Daemon::support
