// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <iosfwd>
#include <string>

#include "tools/status_command.h"

namespace korahamonctl {

/// Looks at everything that keeps this node from working, and prints a verdict for each point and
/// how to mend it. 0, or 1 when something is bad. `root` is put before each path (for tests).
int examineNode(const StatusOptions& options, std::ostream& out, const std::string& root = {});

}  // namespace korahamonctl
