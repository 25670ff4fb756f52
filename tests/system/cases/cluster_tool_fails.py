# SPDX-License-Identifier: Apache-2.0
"""A cluster tool that is missing or cannot be run: the notification has failed, which is logged,
and the next fresh sample tries again. One that runs and fails, or is killed, has been told."""

from harness import CLUSTER_TOOL, SHORT_INTERVALS, eventually, expect, expect_equal
from harness import joined_nodes

TAKES_SECONDS = 35

ALWAYS_SLOW = {
    **SHORT_INTERVALS,
    "THR_OF_HB_LATENCY": 0,
    "TOLERANCE_TIMES_OF_HB_LATENCY": 0,
}
SLOW = "koraharemotemond:331 [Latency Fail] Heartbeat too slow: "
NOT_SENT = "koraharemotemond:337 Failed to send notify when hearbeat latency slow"

UNRUNNABLE = {
    "missing": (None, 0, "No such file or directory"),
    "not executable": ("#!/bin/sh\n", 0o644, "Permission denied"),
    "without an interpreter line": ("echo told\n", 0o755, "Exec format error"),
    "an empty file": ("", 0o755, "Exec format error"),
}
RUNNABLE = {
    "failing": "#!/bin/sh\necho run >> /run/notifications\nexit 255\n",
    "killed by a signal": "#!/bin/sh\necho run >> /run/notifications\nkill -SEGV $$\n",
}


def judged(daemon):
    return [line for line in daemon.log() if SLOW in line or NOT_SENT in line]


def put_tool(node, text, mode):
    node.remove(CLUSTER_TOOL)
    if text is not None:
        node.write(CLUSTER_TOOL, text, mode)


def unrunnable(node, what, text, mode, reason):
    put_tool(node, text, mode)
    daemon = node.daemon(settings=ALWAYS_SLOW).serves()
    eventually(f"each fresh sample tries a tool that is {what}", lambda: len(judged(daemon)) >= 6)
    lines = judged(daemon)
    expect(all(SLOW in line for line in lines[0::2]), f"every other line is the latency: {lines}")
    expect(all(line == NOT_SENT for line in lines[1::2]), f"the others the failure: {lines}")
    told = f"libkoracore: cannot run {CLUSTER_TOOL}: {reason}"
    expect_equal(node.system_log.count(told), 1, f"how often the system log says {told}")
    return daemon


def runnable(node, what, text):
    put_tool(node, text, 0o755)
    daemon = node.daemon(settings=ALWAYS_SLOW).serves()
    eventually(f"a tool {what} is run", lambda: node.read("/run/notifications") == "run\n")
    status = daemon.wait_for("its samples", lambda now: now["uptimeSeconds"] > 6)
    expect(status["remoteAlive"], "the peer is alive")
    expect_equal(len(judged(daemon)), 1, "how often the episode is told")
    expect_equal(node.read("/run/notifications"), "run\n", "how often the tool is run")
    return daemon


def end(daemon):
    daemon.signal(15)
    daemon.ended()
    expect_equal(daemon.output(), "", "what it wrote to its standard streams")
    daemon.node.forget_logs()
    daemon.node.remove("/run/notifications")
    daemon.node.system_log.clear()


def case(build):
    with joined_nodes(build) as (node1, _):
        for what, (text, mode, reason) in UNRUNNABLE.items():
            end(unrunnable(node1, what, text, mode, reason))
        for what, text in RUNNABLE.items():
            end(runnable(node1, what, text))
