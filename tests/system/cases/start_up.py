# SPDX-License-Identifier: Apache-2.0
"""A daemon that finds all in order starts without a word to the system log or its standard
streams, lowers the busy flag, and serves."""

import os
import stat

from harness import (
    IS_ROOT,
    LOG_ERR,
    LOG_USER,
    SHORT_INTERVALS,
    STATUS_SOCKET,
    SystemLogLine,
    copy_key,
    eventually,
    expect_equal,
    joined_nodes,
)

BUSY_FLAG = "/tmp/ha/ha_remote_busy"
FIRST_LINES = [
    "int_daemon_conf:95 Load configure from file: /var/lib/ha/remote_mond.conf",
    f"koraharemotemond:94 Delete flag: {BUSY_FLAG}",
    f"koraharemotemond:87 Create flag: {BUSY_FLAG}",
]

# Who may not lock memory is told so; nothing else is worth a line.
NOT_LOCKED = SystemLogLine(
    LOG_USER,
    LOG_ERR,
    "koraharemotemond",
    "koraharemotemond:547 Memory lock failed: Operation not permitted",
)


def case(build):
    with joined_nodes(build) as (node1, node2):
        copy_key(node1, node2)
        node2.daemon(settings=SHORT_INTERVALS).serves()
        node1.write(BUSY_FLAG, "left by the one before")
        daemon = node1.daemon(settings=SHORT_INTERVALS).serves()
        daemon.wait_for("the peer is known", lambda status: status["remoteAlive"])
        daemon.wait_for(
            "the peer tells its state",
            lambda status: status["readings"]["remoteMDResync"]["valid"],
        )
        eventually("the first lines are on disk", lambda: daemon.log() == FIRST_LINES)
        expect_equal(node1.read(BUSY_FLAG), "", "the new flag's content")
        for door in (STATUS_SOCKET, "/run/koraha/server.sock"):
            expect_equal(daemon.ask(door=door)["pid"], daemon.status()["pid"], f"who serves {door}")
            mode = stat.S_IMODE(os.stat(node1.path(door)).st_mode)
            expect_equal(mode, 0o660, f"the mode of {door}")
        expect_equal(
            node1.system_log.lines(), [] if IS_ROOT else [NOT_LOCKED], "what the system log got"
        )
