# SPDX-License-Identifier: Apache-2.0
"""A daemon that may not lock its memory says so and goes on."""

from harness import LOG_ERR, LOG_USER, SHORT_INTERVALS, SystemLogLine, expect_equal, one_node

NOT_WITH_SANITIZERS = "their runtime makes every memory lock succeed"

LOCK_CAPABILITY = "-ipc_lock"
TOLD = SystemLogLine(
    LOG_USER,
    LOG_ERR,
    "koraharemotemond",
    "koraharemotemond:547 Memory lock failed: Operation not permitted",
)


def case(build):
    with one_node(build) as node:
        through = ["setpriv", "--bounding-set", LOCK_CAPABILITY, "--inh-caps", LOCK_CAPABILITY]
        through += ["prlimit", "--memlock=0"]
        daemon = node.daemon(settings=SHORT_INTERVALS, through=through).serves()
        expect_equal(node.system_log.lines()[0], TOLD, "the first line of the system log")
        expect_equal(node.system_log.count("Memory lock failed"), 1, "how often it says so")
        daemon.wait_for("it goes on", lambda status: status["uptimeSeconds"] > 2)
