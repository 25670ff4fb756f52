// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <CLI/App.hpp>

#include "tools/status_command.h"

namespace korahamonctl {

/// The command line of the tool, and of the programs that it becomes for some of its commands.
struct CommandLine {
    CommandLine();

    CLI::App app;
    StatusOptions status;                ///< what the options that all commands share say
    const CLI::App* monitors = nullptr;  ///< the command that ends as monitoring plug-ins do
    int result = 0;                      ///< what the command that ran ends with
};

/// Parses the arguments, which runs the command; the exit status.
int runCommandLine(CommandLine& line, int argc, char** argv);

}  // namespace korahamonctl
