// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <iosfwd>
#include <string>
#include <vector>

namespace korahamonctl {

/// What a person should know about a configuration's text before the daemon reads it.
struct ConfigFindings {
    std::vector<std::string> problems;  ///< what breaks or misleads
    std::vector<std::string> notes;     ///< what is fine but worth knowing
};
ConfigFindings checkConfigText(const std::string& text);

/// Checks a file and prints; 0 when nothing is wrong (a missing file is fine), else 1.
int checkConfigFile(const std::string& path, std::ostream& out, std::ostream& err);

}  // namespace korahamonctl
