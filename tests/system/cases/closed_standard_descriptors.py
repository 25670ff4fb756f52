# SPDX-License-Identifier: Apache-2.0
"""Started without standard input, output and error, the daemon works, and what it or its tool would
write there ends in none of its own files."""

from harness import (
    CONFIGURATION,
    SHORT_INTERVALS,
    eventually,
    expect,
    expect_equal,
    joined_nodes,
)

CLOSED = ["sh", "-c", 'exec "$@" <&- >&- 2>&-', "sh"]
ALWAYS_SLOW = {**SHORT_INTERVALS, "THR_OF_HB_LATENCY": 0, "TOLERANCE_TIMES_OF_HB_LATENCY": 0}
SLOW = "koraharemotemond:331 [Latency Fail] Heartbeat too slow: "
BROKEN = '{"BASE_INTERVAL_ACTIVE": }'


def works(node):
    daemon = node.daemon(settings=ALWAYS_SLOW, through=CLOSED).serves()
    eventually("the heartbeat is judged", lambda: any(SLOW in line for line in daemon.log()))
    eventually(
        "the cluster tool is called",
        lambda: node.read("/run/notifications").startswith("--notify heartbeat-latency "),
    )
    expect(
        all(line.startswith(("koraharemotemond:", "int_daemon_conf:")) for line in daemon.log()),
        "only log lines in the daemon log",
    )
    daemon.wait_for("it still serves", lambda status: status["remoteAlive"])
    daemon.signal(15)
    expect_equal(daemon.ended(), -15, "how it ends")


def fails_quietly(node):
    node.write(CONFIGURATION, BROKEN)
    daemon = node.daemon(through=CLOSED)
    expect_equal(daemon.ended(), 1, "the exit status with a broken configuration")
    expect_equal(node.read(CONFIGURATION), BROKEN, "the configuration file")
    node.system_log.await_text("koraharemotemond:535 Failed to load config file")


def case(build):
    with joined_nodes(build) as (node1, _):
        works(node1)
        fails_quietly(node1)
