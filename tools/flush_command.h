// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <iosfwd>
#include <string>

namespace korahamonctl {

struct FlushOptions {
    std::string bufferDirectory = "/run/koraha";
    std::string logDirectory = "/var/log/ha";
};

/// Writes the log lines that an ended daemon left behind to its log files. Exit code 0: nothing is
/// left; 1: something is, because a daemon runs and will write it, or because it cannot be written.
int flushLogs(const FlushOptions& options, std::ostream& out, std::ostream& err);

}  // namespace korahamonctl
