// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <iosfwd>

#include "tools/exporter/commands.h"
#include "tools/status_command.h"

namespace korahamonctl {

/// Serves metrics and page until SIGTERM or SIGINT: then 0. 2 when the address is none, 1 when it
/// cannot be served on.
int runExporter(const StatusOptions& status, const ExporterOptions& options, std::ostream& out,
                std::ostream& err);

}  // namespace korahamonctl
