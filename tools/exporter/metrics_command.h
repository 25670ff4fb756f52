// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <iosfwd>
#include <string>

#include "tools/status_command.h"

namespace korahamonctl {

/// Prints the metrics once, or puts them into a file that is at no time half there. 0; 3 when the
/// daemon does not answer, which the metrics say then; 1 when they cannot be written.
int showMetrics(const StatusOptions& options, const std::string& output, std::ostream& out,
                std::ostream& err);

}  // namespace korahamonctl
