# SPDX-License-Identifier: Apache-2.0
"""Without its directory the log is written all the same: the daemon makes it."""

import os
import stat

from harness import DAEMON_LOG, SHORT_INTERVALS, eventually, expect_equal, one_node

RECORD = "/var/log/ha/ha.daemon.record"


def case(build):
    with one_node(build) as node:
        node.remove("/var/log/ha")
        daemon = node.daemon(settings=SHORT_INTERVALS).serves()
        eventually("both logs are written", lambda: node.read(DAEMON_LOG) and node.read(RECORD))
        directory = os.stat(node.path("/var/log/ha"))
        expect_equal(stat.S_IMODE(directory.st_mode), 0o750, "the directory's mode")
        expect_equal(stat.S_IMODE(os.stat(node.path(DAEMON_LOG)).st_mode), 0o640, "the log's mode")

        node.remove("/var/log/ha")
        eventually("it is made again while it runs", lambda: node.read(RECORD))
        expect_equal(node.system_log.count("cannot be written"), 0, "complaints")
        daemon.wait_for("it serves", lambda status: True)
