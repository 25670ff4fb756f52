// SPDX-License-Identifier: Apache-2.0
#include <unistd.h>

#include "hasupport/local_socket.h"
#include "log/log_line.h"
#include "log/process_objects.h"
#include "log/running_flag.h"
#include "server/serving_routines.h"

namespace KORA::HA::Daemon {
namespace {

constexpr const char* socketPath = "/tmp/.ha_daemon.socket";
constexpr unsigned int maxClients = 15;

constexpr int createFailedLine = 294;
constexpr int bindFailedLine = 299;
constexpr int listenFailedLine = 304;

}  // namespace

bool daemonDataServer() {
    MonitordSocket socket(socketPath, maxClients);
    if (socket.hasError()) {
        logMessage(createFailedLine, "Failed to create socket");
        return false;
    }
    socket.setStatus(&sharedStatus());
    if (!socket.serverBind()) {
        logMessage(bindFailedLine, "Failed to bind socket");
        return false;
    }
    while (isRunning()) {
        if (!socket.serverListen()) {
            logMessage(listenFailedLine, "Failed to listen local socket request");
            sleep(1);
        }
    }
    return false;
}

}  // namespace KORA::HA::Daemon
