#pragma once

namespace korahamonctl {

// What the tool's commands end with, but for `check`, which speaks as monitoring plug-ins do.
constexpr int exitFine = 0;
constexpr int exitConcern = 1;   ///< something is wrong with what was looked at
constexpr int exitUsage = 2;     ///< the command line was not understood
constexpr int exitNoAnswer = 3;  ///< the daemon does not answer

// What `check` ends with.
constexpr int pluginOk = 0;
constexpr int pluginWarning = 1;
constexpr int pluginCritical = 2;
constexpr int pluginUnknown = 3;

}  // namespace korahamonctl
