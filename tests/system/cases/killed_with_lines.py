# SPDX-License-Identifier: Apache-2.0
"""A daemon that is killed before it wrote its lines to disk loses none: the next one writes them,
once, before its own. It finds the socket's file stale and takes its place."""

import signal

from harness import DAEMON_LOG, SHORT_INTERVALS, eventually, expect, expect_equal, joined_nodes

BUSY_FLAG = "/tmp/ha/ha_remote_busy"
WRITES_SELDOM = {**SHORT_INTERVALS, "BASE_INTERVAL_LOG_WRITE": 1000}
LOADED = "int_daemon_conf:95 Load configure from file: /var/lib/ha/remote_mond.conf"
RAISED = f"koraharemotemond:87 Create flag: {BUSY_FLAG}"
LOWERED = f"koraharemotemond:94 Delete flag: {BUSY_FLAG}"


def case(build):
    with joined_nodes(build) as (node1, node2):
        killed = node1.daemon(settings=WRITES_SELDOM).serves()
        eventually("the busy flag is raised", lambda: node1.exists(BUSY_FLAG))
        node2.run("ip", "link", "set", "link0", "down")
        eventually("the busy flag is lowered", lambda: not node1.exists(BUSY_FLAG))
        killed.wait_for("it has gone on", lambda status: not status["remoteAlive"])
        killed.signal(signal.SIGKILL)
        expect_equal(killed.ended(), -signal.SIGKILL, "how it ends")
        expect(LOWERED not in killed.log(), "its last line is not on disk")

        daemon = node1.daemon(settings=SHORT_INTERVALS).serves()
        wanted = [LOADED, RAISED, LOWERED, LOADED]
        eventually("every line is on disk", lambda: len(daemon.log()) >= len(wanted))
        expect_equal(daemon.log(), wanted, "the daemon log")
        stamps = [line.split()[0] for line in node1.read(DAEMON_LOG).splitlines()]
        expect_equal(stamps, sorted(stamps), "the order of the lines")
