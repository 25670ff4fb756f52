// SPDX-License-Identifier: Apache-2.0
#include "tools/exporter/commands.h"

#include <CLI/CLI.hpp>

namespace korahamonctl {

ExporterCommands addExporterCommands(CLI::App& app, ExporterOptions& options) {
    auto* metrics = app.add_subcommand("metrics", "Print the metrics once, for Prometheus");
    metrics->add_option("-o,--output", options.metricsOutput,
                        "Put them into this file instead, which is at no time half there");
    auto* exporter =
        app.add_subcommand("exporter", "Serve the metrics, and a page that shows the pair");
    exporter->add_option("--listen", options.listen, "Address and port to serve on")
        ->capture_default_str();
    exporter->add_option("--allow-host", options.allowedHosts,
                         "A name under which browsers may ask for it; may be repeated");
    return {metrics, exporter};
}

}  // namespace korahamonctl
