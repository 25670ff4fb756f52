# SPDX-License-Identifier: Apache-2.0
"""Any number of arguments but three: the usage line, one line in the system log, status 1, and
nothing touched."""

from harness import LOG_ERR, LOG_USER, PROGRAM, SystemLogLine, expect, expect_equal, one_node

BUSY_FLAG = "/tmp/ha/ha_remote_busy"
USAGE = f"Usage: {PROGRAM} <local_drbdip> <remote_drbdip> <drbdif>\n"
TOLD = SystemLogLine(
    LOG_USER, LOG_ERR, "koraharemotemond", "koraharemotemond:529 Bad parameter"
)


def case(build):
    with one_node(build) as node:
        node.write(BUSY_FLAG, "")
        for count in (0, 1, 2, 4, 40):
            before = len(node.system_log.lines())
            daemon = node.daemon(arguments=["10.77.0.1"] * count)
            expect_equal(daemon.ended(), 1, f"the exit status with {count} arguments")
            expect_equal(daemon.output(), USAGE, f"what it wrote with {count} arguments")
            node.system_log.await_lines(before + 1)
            expect_equal(node.system_log.lines()[before:], [TOLD], "what the system log got")
        expect(node.exists(BUSY_FLAG), "the busy flag is left alone")
        expect(not node.exists("/var/log/ha/ha.daemon.log"), "no log file is made")
