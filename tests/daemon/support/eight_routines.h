// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>
#include <vector>

namespace koraha::test {

struct StartedRoutine {
    std::string name;
    std::string firstCall;  ///< what only it asks of the support library, and asks first
};

/// The daemon's routines in the order of their start.
inline const std::vector<StartedRoutine>& eightRoutines() {
    static const std::vector<StartedRoutine> all = {
        {"logHandler", "daemonLog.writeLogToDisk"},
        {"recordSystemInfo", "recordMemoryInfo"},
        {"server", "SocketServer"},
        {"busyFlagControl", "IsRemoteAlive"},
        {"nonBlockCheck", "isDiskErrHandling"},
        {"mayBlockCheck", "isMDResync"},
        {"monitorEnv", "VLIBCExecl"},
        {"daemonDataServer", "DaemonLocalSocket"},
    };
    return all;
}

/// Their names in the order in which they are watched and joined.
inline const std::vector<std::string>& namesInKeyOrder() {
    static const std::vector<std::string> all = {
        "busyFlagControl", "daemonDataServer", "logHandler",       "mayBlockCheck",
        "monitorEnv",      "nonBlockCheck",    "recordSystemInfo", "server",
    };
    return all;
}

}  // namespace koraha::test
