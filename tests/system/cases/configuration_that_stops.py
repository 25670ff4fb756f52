# SPDX-License-Identifier: Apache-2.0
"""A configuration that does not parse: a line on standard error, one in the system log, status 1,
and the busy flag is left alone."""

from pathlib import Path

from harness import (
    CONFIGURATION,
    LOG_ERR,
    LOG_USER,
    SystemLogLine,
    eventually,
    expect,
    expect_equal,
    one_node,
)

BUSY_FLAG = "/tmp/ha/ha_remote_busy"
TOLD = SystemLogLine(
    LOG_USER, LOG_ERR, "koraharemotemond", "koraharemotemond:535 Failed to load config file"
)
LOADING = f"int_daemon_conf:95 Load configure from file: {CONFIGURATION}"
PARSE_FAILED = f"int_daemon_conf:99 Failed to parse json from file {CONFIGURATION}: "
MISSING = "int_daemon_conf:91 Daemon configure file not exist"
BROKEN = {
    "a member without a value": '{"BASE_INTERVAL_ACTIVE": }',
    "an object without its end": '{"BASE_INTERVAL_ACTIVE": 1',
    "an empty file": "",
    "no JSON at all": "BASE_INTERVAL_ACTIVE = 1\n",
    "nothing but zeros": "\0" * 5000,
    "nested 100,000 deep": "[" * 100_000,
}


def expect_refusal(node, what):
    before = len(node.system_log.lines())
    daemon = node.daemon()
    expect_equal(daemon.ended(), 1, f"the exit status with {what}")
    expect_equal(daemon.output(), "Failed to load config file\n", f"what it wrote with {what}")
    node.system_log.await_lines(before + 1)
    expect_equal(node.system_log.lines()[before:], [TOLD], "what the system log got")
    expect(node.exists(BUSY_FLAG), "the busy flag is left alone")


def expect_reasons(node):
    """The refused starts wrote nothing to disk; the next one does it for them."""
    daemon = node.daemon().serves()
    wanted = [LOADING, PARSE_FAILED] * (len(BROKEN) + 1) + [MISSING]
    eventually("the log is written", lambda: MISSING in daemon.log())
    lines = [line for line in daemon.log() if line.startswith("int_daemon_conf:")]
    expect_equal(len(lines), len(wanted), "the number of lines")
    for line, start in zip(lines, wanted):
        expect(line.startswith(start), f"{line} starts with {start}")


def case(build):
    with one_node(build) as node:
        node.write(BUSY_FLAG, "")
        for what, text in BROKEN.items():
            node.write(CONFIGURATION, text)
            expect_refusal(node, what)
        node.remove(CONFIGURATION)
        Path(node.path(CONFIGURATION)).mkdir()
        expect_refusal(node, "a directory in its place")
        Path(node.path(CONFIGURATION)).rmdir()
        expect_reasons(node)
