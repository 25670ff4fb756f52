// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <CLI/App.hpp>
#include <string>
#include <vector>

namespace korahamonctl {

struct ExporterOptions {
    std::string listen = "127.0.0.1:18909";
    std::vector<std::string> allowedHosts;
    std::string metricsOutput;  ///< of `metrics`; empty for the standard output
};

struct ExporterCommands {
    CLI::App* metrics;
    CLI::App* exporter;
};

/// Adds `metrics` and `exporter` with their options, as yet without anything to run: they have a
/// program of their own, and the tool only knows how they are asked for.
ExporterCommands addExporterCommands(CLI::App& app, ExporterOptions& options);

}  // namespace korahamonctl
