// SPDX-License-Identifier: Apache-2.0
#include "tools/flush_command.h"

#include <ostream>

#include "hasupport/logfile/flush_leftovers.h"
#include "tools/exit_codes.h"

namespace korahamonctl {
namespace {

using KORA::HA::Daemon::support::flushLeftovers;
using Result = KORA::HA::Daemon::support::FlushOutcome::Result;

bool flushOne(const FlushOptions& options, const std::string& name, std::ostream& out,
              std::ostream& err) {
    const auto outcome =
        flushLeftovers({options.bufferDirectory, false}, options.logDirectory, name);
    const std::string path = options.logDirectory + name;
    switch (outcome.result) {
        case Result::nothingLeft:
            out << path << ": nothing was left\n";
            return true;
        case Result::written:
            out << path << ": what was left is written\n";
            return true;
        case Result::inUse:
            err << path << ": a daemon runs, which writes its lines itself\n";
            return false;
        case Result::failed:
            break;
    }
    err << outcome.problem << '\n';
    return false;
}

}  // namespace

int flushLogs(const FlushOptions& options, std::ostream& out, std::ostream& err) {
    const bool messages = flushOne(options, "/ha.daemon.log", out, err);
    const bool records = flushOne(options, "/ha.daemon.record", out, err);
    return messages && records ? exitFine : exitConcern;
}

}  // namespace korahamonctl
