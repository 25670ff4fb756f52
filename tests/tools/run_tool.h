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

}  // namespace koraha::test
