# SPDX-License-Identifier: Apache-2.0
"""Without /tmp/ha the busy flag cannot be raised: the daemon says that it raised it, as always, and
goes on; it does not make the directory."""

from harness import SHORT_INTERVALS, eventually, expect, expect_equal, joined_nodes

RAISED = "koraharemotemond:87 Create flag: /tmp/ha/ha_remote_busy"


def case(build):
    with joined_nodes(build) as (node1, node2):
        node1.remove("/tmp/ha")
        daemon = node1.daemon(settings=SHORT_INTERVALS).serves()
        eventually("it says so", lambda: RAISED in daemon.log())
        expect(not node1.exists("/tmp/ha"), "the directory is not made")

        node2.run("ip", "link", "set", "link0", "down")
        daemon.wait_for("the peer is lost", lambda status: not status["remoteAlive"])
        node2.run("ip", "link", "set", "link0", "up")
        eventually("it says so again", lambda: daemon.log().count(RAISED) == 2)
        expect_equal(daemon.log()[1:], [RAISED, RAISED], "nothing was there to be lowered")
        daemon.wait_for("it goes on", lambda status: status["remoteAlive"])
