// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

namespace KORA::HA::Daemon::support {

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
