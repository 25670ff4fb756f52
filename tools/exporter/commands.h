// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <CLI/App.hpp>

#include "tools/status_command.h"

namespace korahamonctl {

/// Adds `metrics` and `exporter`; their exit status goes to `result`.
void addExporterCommands(CLI::App& app, const StatusOptions& status, int& result);

}  // namespace korahamonctl
