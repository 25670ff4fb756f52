// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <chrono>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "tools/message_table.h"

namespace korahamonctl {

using LogTime = std::chrono::sys_time<std::chrono::microseconds>;

/// The stamp that a record begins with; nothing when it begins with none.
std::optional<LogTime> stampOf(std::string_view record);

/// A point in time as a person writes it, in UTC as the log: "2026-11-21", "2026-11-21 07:00",
/// "2026-11-21T07:00:05", or "90s", "15m", "2h", "3d" before now. Nothing when it is none of these.
std::optional<LogTime> timeFrom(const std::string& text, LogTime now);

/// Which records are shown.
struct LogFilter {
    std::optional<LogTime> since;
    std::vector<Topic> topics;  ///< one of these; all, when there are none
    std::string contains;       ///< this text

    /// A record without a stamp of its own counts with the one before it.
    bool passes(const std::string& record);

  private:
    std::optional<LogTime> last_;
};

}  // namespace korahamonctl
