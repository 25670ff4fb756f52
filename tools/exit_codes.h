// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>
#include <string_view>

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

/// What a command ends with, in one line: "0 all is well; 1 ...; 2 wrong usage". The same words
/// stand in the manual page and in the README.
std::string exitCodesOf(std::string_view command);

/// The same as the end of the command's help, a line for each code.
std::string exitCodesHelp(std::string_view command);

}  // namespace korahamonctl
