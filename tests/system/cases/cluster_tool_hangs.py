# SPDX-License-Identifier: Apache-2.0
"""A cluster tool that hangs, with children of its own: after a minute the whole group is ended, the
notification has failed, and meanwhile everything but the monitors goes on."""

from harness import CLUSTER_TOOL, SHORT_INTERVALS, eventually, expect, expect_equal, joined_nodes

TAKES_SECONDS = 65

ALWAYS_SLOW = {
    **SHORT_INTERVALS,
    "THR_OF_HB_LATENCY": 0,
    "TOLERANCE_TIMES_OF_HB_LATENCY": 0,
}
SLOW = "koraharemotemond:331 [Latency Fail] Heartbeat too slow: "
NOT_SENT = "koraharemotemond:337 Failed to send notify when hearbeat latency slow"
HANGING = """#!/bin/sh
trap '' TERM INT HUP
echo run >> /run/notifications
sleep 5000 &
sleep 5001
"""


def sleepers(node):
    return node.run("sh", "-c", "pgrep -f 'sleep 500[01]' || true").split()


def case(build):
    with joined_nodes(build) as (node1, _):
        node1.write(CLUSTER_TOOL, HANGING, 0o755)
        daemon = node1.daemon(settings=ALWAYS_SLOW).serves()
        eventually("the tool hangs", lambda: len(sleepers(node1)) == 2)
        first = sleepers(node1)

        status = daemon.wait_for("it serves meanwhile", lambda now: now["uptimeSeconds"] > 10)
        expect(status["ageSeconds"]["hbLatency"] < 5, "the heartbeat is measured meanwhile")
        expect(NOT_SENT not in daemon.log(), "the tool is given time")

        eventually("its time is over", lambda: NOT_SENT in daemon.log(), 150)
        eventually("its whole group is gone", lambda: not set(first) & set(sleepers(node1)))
        told = f"libkoracore: cannot run {CLUSTER_TOOL}: Connection timed out"
        node1.system_log.await_text(told)
        eventually(
            "the next fresh sample tries again",
            lambda: node1.read("/run/notifications") == "run\nrun\n",
        )
        expect_equal(daemon.log().count(NOT_SENT), 1, "how often the failure is told")
