#pragma once

#include <chrono>
#include <string>
#include <string_view>

namespace KORA::HA::Daemon::support {

/// Appends one stamped line, ended by a newline, to `out`: UTC time in ISO 8601 with microseconds,
/// a blank, the text. Control characters become `\xNN`; one final newline is the line's own end; a
/// newline inside becomes a newline and a tab, so that no text from outside can forge a line that
/// begins with a stamp.
void appendLogLine(std::string& out, std::chrono::system_clock::time_point at,
                   std::string_view text);

}  // namespace KORA::HA::Daemon::support
