# SPDX-License-Identifier: Apache-2.0
"""The interface goes away and comes back as another one: the daemon loses its peer, says why once,
and finds it again without help."""

from harness import SHORT_INTERVALS, copy_key, expect_equal, join, joined_nodes


def knows_peer(status):
    readings = status["readings"]
    return status["remoteAlive"] and readings["remoteMDResync"]["valid"]


def case(build):
    with joined_nodes(build) as (node1, node2):
        copy_key(node1, node2)
        daemons = [node.daemon(settings=SHORT_INTERVALS).serves() for node in (node1, node2)]
        for daemon in daemons:
            daemon.wait_for("the peer is known", knows_peer)
        for node in (node1, node2):
            node.system_log.clear()

        node1.run("ip", "link", "delete", "link0")
        for daemon in daemons:
            daemon.wait_for("the peer is lost", lambda status: not status["remoteAlive"])
        unserved = "libkorahadaemon: the peer is not served: there is no interface link0"
        for node in (node1, node2):
            node.system_log.await_text(unserved)

        join(node1, node2)
        for daemon in daemons:
            daemon.wait_for(
                "the peer is known again",
                lambda status: knows_peer(status)
                and status["ageSeconds"]["remoteMDResync"] < 2
                and status["ageSeconds"]["netNonOkRate"] < 5,
            )
        for node in (node1, node2):
            node.system_log.await_text("libkorahadaemon: the peer is served again")
            expect_equal(node.system_log.count(unserved), 1, "how often it says so")
