// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>
#include <vector>

namespace koraha::test {

struct ToolRun {
    int code = -1;  ///< the exit status, or 128 and the signal that ended it
    std::string out;
    std::string err;
};

/// Runs the built tool with these arguments and waits for its end.
ToolRun runTool(const std::vector<std::string>& arguments);

/// Runs a script in bash, with the tool's path in $TOOL and one argument in $1.
ToolRun runShell(const std::string& script, const std::string& argument);

}  // namespace koraha::test
