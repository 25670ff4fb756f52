// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <iosfwd>

#include "tools/status_command.h"

namespace korahamonctl {

/// One line as monitoring plug-ins print it, with performance data, and their exit code: 0 all
/// well; 1 a measured value has reached its threshold; 2 something is wrong; 3 the daemon does not
/// answer, or something that should be known is not.
int checkHealth(const StatusOptions& options, std::ostream& out);

}  // namespace korahamonctl
