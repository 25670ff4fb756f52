// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <iosfwd>
#include <optional>
#include <string>

#include "tools/status_command.h"

namespace korahamonctl::watch {

/// Shows the pair on the whole terminal until the key to leave is pressed; the exit code. A signal
/// that ends it ends the process with it, after the terminal was given back. Nothing when this
/// terminal cannot do that, and why in `problem`.
std::optional<int> showLive(const StatusOptions& options, std::string& problem);

/// Whether standard input and output are a terminal.
bool isOnTerminal();

}  // namespace korahamonctl::watch
