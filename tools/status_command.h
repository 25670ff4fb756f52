#pragma once

#include <iosfwd>
#include <string>

namespace korahamonctl {

struct StatusOptions {
    std::string socketPath = "/tmp/.ha_daemon.socket";
    std::string configuration = "/var/lib/ha/remote_mond.conf";  ///< what the paces are taken from
    bool json = false;
    int waitSeconds = 0;  ///< how long to wait for all to be well before saying what is
};

/// Asks once and prints; the exit code.
int showStatus(const StatusOptions& options, std::ostream& out, std::ostream& err);

/// Prints one line now and one for every change, until the daemon leaves; the exit code.
int watchStatus(const StatusOptions& options, std::ostream& out, std::ostream& err);

}  // namespace korahamonctl
