// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <array>
#include <chrono>
#include <cstddef>
#include <string_view>

namespace KORA::HA::Daemon::support {

/// What every line begins with, such as "2026-01-31T12:00:00.123456Z ".
inline constexpr std::size_t stampBytes = 28;
using Stamp = std::array<char, stampBytes>;

inline std::string_view textOf(const Stamp& stamp) {
    return {stamp.data(), stamp.size()};
}

/// The stamp of a line: UTC time in ISO 8601 with microseconds, and a blank. Whole seconds are put
/// into words once, however many lines they have. One thread.
class LineStamp {
  public:
    LineStamp();
    /// Good until the next call.
    const Stamp& at(std::chrono::system_clock::time_point at);

  private:
    void setSecond(std::chrono::sys_seconds second);

    std::chrono::system_clock::time_point second_;  // the one that `stamp_` tells
    Stamp stamp_{};
};

}  // namespace KORA::HA::Daemon::support
