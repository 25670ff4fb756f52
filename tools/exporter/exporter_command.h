// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <iosfwd>
#include <string>
#include <vector>

#include "tools/status_command.h"

namespace korahamonctl {

struct ExporterOptions {
    std::string listen = "127.0.0.1:18909";
    std::vector<std::string> allowedHosts;
};

/// Serves metrics and page until SIGTERM or SIGINT: then 0. 2 when the address is none, 1 when it
/// cannot be served on.
int runExporter(const StatusOptions& status, const ExporterOptions& options, std::ostream& out,
                std::ostream& err);

}  // namespace korahamonctl
