// SPDX-License-Identifier: Apache-2.0
#include "tools/daemon_query.h"

#include "tools/daemon_client.h"
#include "tools/visible.h"

namespace korahamonctl {

DaemonSaid queryDaemon(const std::string& socketPath, const std::string& request, int timeoutMs) {
    DaemonSaid said;
    DaemonClient client(socketPath, said.problem, timeoutMs);
    said.forbidden = client.forbidden();
    if (!said.problem.empty()) {
        said.problem = visible(socketPath) + ": " + said.problem;
    } else if (!client.send(R"({"request":")" + request + R"("})")) {
        said.problem = "it has left";
    } else if (auto line = client.receive(timeoutMs)) {
        said.line = *std::move(line);
    } else {
        said.problem = "no complete reply within " + secondsText(timeoutMs);
    }
    return said;
}

}  // namespace korahamonctl
