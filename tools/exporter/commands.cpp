// SPDX-License-Identifier: Apache-2.0
#include "tools/exporter/commands.h"

#include <CLI/CLI.hpp>
#include <iostream>
#include <memory>
#include <string>

#include "tools/exporter/exporter_command.h"
#include "tools/exporter/metrics_command.h"

namespace korahamonctl {

void addExporterCommands(CLI::App& app, const StatusOptions& status, int& result) {
    auto output = std::make_shared<std::string>();
    auto* metrics = app.add_subcommand("metrics", "Print the metrics once, for Prometheus");
    metrics->add_option("-o,--output", *output,
                        "Put them into this file instead, which is at no time half there");
    metrics->callback([&status, &result, output] {
        result = showMetrics(status, *output, std::cout, std::cerr);
    });

    auto options = std::make_shared<ExporterOptions>();
    auto* exporter =
        app.add_subcommand("exporter", "Serve the metrics, and a page that shows the pair");
    exporter->add_option("--listen", options->listen, "Address and port to serve on")
        ->capture_default_str();
    exporter->add_option("--allow-host", options->allowedHosts,
                         "A name under which browsers may ask for it; may be repeated");
    exporter->callback([&status, &result, options] {
        result = runExporter(status, *options, std::cout, std::cerr);
    });
}

}  // namespace korahamonctl
