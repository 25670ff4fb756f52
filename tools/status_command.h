// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <iosfwd>

#include "tools/status_options.h"

namespace korahamonctl {

/// Asks once and prints; the exit code.
int showStatus(const StatusOptions& options, std::ostream& out, std::ostream& err);

/// On a terminal the live view; else, with `lines`, with `json` or where the terminal cannot show
/// it, one line now and one for every change, until the daemon leaves. The exit code.
int watchPair(const StatusOptions& options, std::ostream& out, std::ostream& err);

/// Prints one line now and one for every change, until the daemon leaves; the exit code.
int watchStatus(const StatusOptions& options, std::ostream& out, std::ostream& err);

}  // namespace korahamonctl
