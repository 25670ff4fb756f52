# SPDX-License-Identifier: Apache-2.0
"""Two nodes whose link has IP version 6 addresses know each other just as well, by addresses of a
private network and by those of the link itself."""

from harness import SHORT_INTERVALS, copy_key, expect_equal, joined_nodes

NETWORKS = ("fd77::", "fe80::77:")


def knows_all(status):
    readings = status["readings"]
    names = ("remoteMDResync", "remoteDiskErrHandling", "hbLatency", "netNonOkRate")
    return status["remoteAlive"] and all(readings[name]["valid"] for name in names)


def case(build):
    with joined_nodes(build) as (node1, node2):
        copy_key(node1, node2)
        for network in NETWORKS:
            pairs = ((node1, f"{network}1", f"{network}2"), (node2, f"{network}2", f"{network}1"))
            for node, local, _ in pairs:
                node.run("ip", "addr", "add", f"{local}/64", "dev", "link0", "nodad")
            daemons = [
                node.daemon([local, remote, "link0"], settings=SHORT_INTERVALS).serves()
                for node, local, remote in pairs
            ]
            for daemon in daemons:
                daemon.wait_for(f"the peer is known over {network}", knows_all)
            for daemon in daemons:
                daemon.signal(15)
                expect_equal(daemon.ended(), -15, "how it ends")
