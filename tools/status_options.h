// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>

namespace korahamonctl {

struct StatusOptions {
    std::string socketPath = "/tmp/.ha_daemon.socket";
    std::string configuration = "/var/lib/ha/remote_mond.conf";  ///< what the paces are taken from
    bool json = false;
    bool lines = false;  ///< `watch` prints a line for each change also on a terminal
    std::string logPath = "/var/log/ha/ha.daemon.log";  ///< what the live view shows of the log
    int waitSeconds = 0;  ///< how long to wait for all to be well before saying what is
};

}  // namespace korahamonctl
