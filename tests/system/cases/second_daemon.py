# SPDX-License-Identifier: Apache-2.0
"""A second daemon on a node fails to bind and ends with status 1. The first one's socket, peer
service and log lines are unharmed; the busy flag is lowered by the second one's start and raised by
its first pass."""

import os

from harness import (
    DAEMON_LOG,
    SHORT_INTERVALS,
    STATUS_SOCKET,
    copy_key,
    eventually,
    expect,
    expect_equal,
    joined_nodes,
)

BUSY_FLAG = "/tmp/ha/ha_remote_busy"

IN_ORDER = [
    "int_daemon_conf:95 Load configure from file: /var/lib/ha/remote_mond.conf",
    f"koraharemotemond:94 Delete flag: {BUSY_FLAG}",
    "koraharemotemond:566 Failed to do daemonDataServer",
]
AT_ONCE = {
    "koraharemotemond:299 Failed to bind socket",
    f"koraharemotemond:87 Create flag: {BUSY_FLAG}",
}


def knows_peer(status):
    return status["remoteAlive"] and status["readings"]["remoteMDResync"]["valid"]


def socket_file(node):
    file = os.stat(node.path(STATUS_SOCKET))
    return file.st_dev, file.st_ino, file.st_mode


def case(build):
    with joined_nodes(build) as (node1, node2):
        copy_key(node1, node2)
        first = node1.daemon(settings=SHORT_INTERVALS).serves()
        peer = node2.daemon(settings=SHORT_INTERVALS).serves()
        pid = first.wait_for("the peer is known", knows_peer)["pid"]
        eventually("the busy flag is raised", lambda: node1.exists(BUSY_FLAG))
        eventually("the first lines are on disk", lambda: len(first.log()) == 2)
        before, file = node1.read(DAEMON_LOG), socket_file(node1)

        second = node1.daemon()
        expect_equal(second.ended(), 1, "the second daemon's exit status")
        expect_equal(second.output(), "", "what it wrote to its standard streams")

        expect_equal(socket_file(node1), file, "the socket's file")
        status = first.wait_for("the first one still knows its peer", knows_peer)
        expect_equal(status["pid"], pid, "the number of the process that answers")
        peer.wait_for(
            "the peer is told this node's state",
            lambda status: knows_peer(status) and status["ageSeconds"]["remoteMDResync"] < 3,
        )
        node1.system_log.await_text("cannot bind /tmp/.ha_daemon.socket: another server listens")

        expect(node1.read(DAEMON_LOG).startswith(before), "the first one's lines still stand")
        lines = first.log()[2:]
        expect_equal(lines[:2] + lines[-1:], IN_ORDER, "the second one's lines")
        expect_equal(set(lines[2:-1]), AT_ONCE, "what its routines wrote")
