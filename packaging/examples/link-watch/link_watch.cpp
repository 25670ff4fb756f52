// SPDX-License-Identifier: Apache-2.0
// Prints this node's view of the replication link once: an example of a program on libkorahadaemon.
//
//   link_watch LOCAL_ADDRESS PEER_ADDRESS INTERFACE
#include <hasupport/local_probes.h>
#include <hasupport/remote_probes.h>
#include <hasupport/replication_link.h>

#include <cstdio>

int main(int argc, char** argv) {
    if (argc != 4) {
        std::fprintf(stderr, "Usage: %s LOCAL_ADDRESS PEER_ADDRESS INTERFACE\n", argv[0]);
        return 2;
    }
    localIP(argv[1]);
    remoteIP(argv[2]);
    drbdIF(argv[3]);
    const bool alive = KORA::HA::Daemon::IsRemoteAlive()();
    std::printf("peer %s\n", alive ? "alive" : "not alive");
    if (alive) {
        std::printf("heartbeat %.3f ms\n",
                    static_cast<double>(KORA::HA::Daemon::heartbeatLatency()));
    }
    return alive ? 0 : 1;
}
