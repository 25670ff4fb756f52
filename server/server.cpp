// SPDX-License-Identifier: Apache-2.0
#include "hasupport/socket_server.h"
#include "log/running_flag.h"
#include "server/serving_routines.h"

namespace KORA::HA::Daemon {

bool server(Status& status) {
    SocketServer serve;
    while (isRunning()) {
        if (!serve(status)) {
            break;
        }
    }
    return false;
}

}  // namespace KORA::HA::Daemon
