// SPDX-License-Identifier: Apache-2.0
// What korahamonctl becomes for its commands `metrics` and `exporter`, with the same arguments.
#include <CLI/CLI.hpp>
#include <exception>
#include <iostream>

#include "tools/command_line.h"
#include "tools/exit_codes.h"
#include "tools/exporter/commands.h"
#include "tools/exporter/exporter_command.h"
#include "tools/exporter/metrics_command.h"

int main(int argc, char** argv) try {
    using namespace korahamonctl;  // NOLINT(google-build-using-namespace): this is the tool
    CommandLine line;
    ExporterOptions options;
    const ExporterCommands commands = addExporterCommands(line.app, options);
    commands.metrics->callback([&] {
        line.result = showMetrics(line.status, options.metricsOutput, std::cout, std::cerr);
    });
    commands.exporter->callback(
        [&] { line.result = runExporter(line.status, options, std::cout, std::cerr); });
    return runCommandLine(line, argc, argv);
} catch (const std::exception& e) {
    std::cerr << "korahamonctl: " << e.what() << '\n';
    return korahamonctl::exitConcern;
}
