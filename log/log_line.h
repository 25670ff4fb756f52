// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>
#include <string_view>

namespace KORA::HA::Daemon {

/// The source tag of the daemon's own messages.
inline constexpr const char* daemonTag = "koraharemotemond";

/// Puts one message into the daemon log behind its prefix: source tag, ":", line number, one blank.
/// The number identifies the message; operators search for it. Any thread; touches no disk and
/// never throws: a line that there is no memory for is lost.
void logMessage(int line, std::string_view message);

/// The same under another source tag.
void logMessage(std::string_view tag, int line, std::string_view message);

}  // namespace KORA::HA::Daemon
