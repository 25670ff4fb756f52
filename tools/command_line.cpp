// SPDX-License-Identifier: Apache-2.0
#include "tools/command_line.h"

#include <CLI/CLI.hpp>
#include <iostream>
#include <string>

#include "tools/exit_codes.h"
#include "tools/standard_descriptors.h"
#include "tools/visible.h"

namespace korahamonctl {
namespace {

void addExitCodes(CLI::App& app) {
    for (CLI::App* command : app.get_subcommands({})) {
        const std::string text = exitCodesHelp(command->get_name());
        command->footer(text);
        for (CLI::App* part : command->get_subcommands({})) {
            part->footer(text);
        }
    }
}

// Whoever reads an exit code relies on having read everything.
int endWith(int result, int unwritten) {
    std::cout.flush();
    if (std::cout) {
        return result;
    }
    std::cerr << unwrittenText;
    return result == exitFine ? unwritten : result;
}

}  // namespace

CommandLine::CommandLine()
    : app("Looks at the remote monitor daemon of this node, and prepares it.", "korahamonctl") {
    app.set_version_flag("--version", std::string("korahamonctl ") + KORAHA_VERSION);
    app.require_subcommand(1);
    app.footer("Each command tells its options and exit codes with --help.");
    app.add_option("--socket", status.socketPath, "The daemon's status socket")
        ->capture_default_str();
    app.add_option("--config", status.configuration,
                   "The daemon's configuration: how old a value may become depends on it")
        ->capture_default_str();
    app.fallthrough();
}

int runCommandLine(CommandLine& line, int argc, char** argv) {
    fillStandardDescriptors();
    CLI::App& app = line.app;
    addExitCodes(app);
    const auto monitors = [&] { return line.monitors != nullptr && line.monitors->parsed(); };
    try {
        app.parse(argc, argv);
    } catch (const CLI::ParseError& e) {
        const auto unknown = app.remaining();
        if (e.get_exit_code() != 0 && app.get_subcommands().empty() && !unknown.empty()) {
            std::cerr << "korahamonctl: no such command: " << visible(unknown.front())
                      << " (--help lists them)\n";
            return exitUsage;
        }
        if (app.exit(e) == 0) {
            return endWith(exitFine, exitConcern);
        }
        return monitors() ? pluginUnknown : exitUsage;
    }
    return endWith(line.result, monitors() ? pluginUnknown : exitConcern);
}

}  // namespace korahamonctl
