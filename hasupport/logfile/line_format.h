// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <array>
#include <chrono>
#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

namespace KORA::HA::Daemon::support {

/// The stamp of a line: UTC time in ISO 8601 with microseconds, and a blank. Whole seconds are put
/// into words once, however many lines they have.
class LineStamp {
  public:
    std::string_view at(std::chrono::system_clock::time_point at);

  private:
    void setSecond(std::chrono::sys_seconds second);

    std::chrono::system_clock::time_point second_;  // the one that `text_` tells
    std::array<char, 29> text_{"1970-01-01T00:00:00.000000Z "};
};

/// Appends one line, ended by a newline, to `out`: the stamp and the text. Control characters
/// become `\xNN`; one final newline is the line's own end; a newline inside becomes a newline and a
/// tab, so that no text from outside can forge a line that begins with a stamp.
void appendLogLine(std::string& out, std::string_view stamp, std::string_view text);

/// Cuts a line that is longer than `limit` bytes, or that lacks `missing` bytes already, and says
/// in it how much is missing.
void fitLine(std::string& line, std::size_t limit, std::size_t missing);

/// Appends the line that stands where `lost` lines are missing, with the stamp of `next`, the line
/// behind them: the same lines make the same text at any time.
void appendLossLine(std::string& out, std::string_view next, std::uint64_t lost);

}  // namespace KORA::HA::Daemon::support
