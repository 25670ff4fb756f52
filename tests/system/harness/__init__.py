# SPDX-License-Identifier: Apache-2.0
"""What the cases are written with: nodes, daemons on them, and checks.

A case is a file in cases/ with a function case(build). It may say TAKES_SECONDS, so that it is
started early, and NOT_WITH_SANITIZERS with the reason. At its end every daemon that was not seen to
end must still run, and none may have written to its standard streams."""

from .checks import CaseFailed, eventually, expect, expect_equal
from .daemon import CONFIGURATION, DAEMON_LOG, IS_ROOT, PROGRAM, SHORT_INTERVALS, STATUS_SOCKET
from .daemon import Daemon, has_sanitizer
from .hostile import hostile_service
from .node import CLUSTER_TOOL, Node, copy_key, join, joined_nodes, nodes, one_node
from .system_log import LOG_ERR, LOG_USER, SystemLogLine

__all__ = [
    "CLUSTER_TOOL",
    "CONFIGURATION",
    "CaseFailed",
    "DAEMON_LOG",
    "Daemon",
    "IS_ROOT",
    "LOG_ERR",
    "LOG_USER",
    "Node",
    "PROGRAM",
    "SHORT_INTERVALS",
    "STATUS_SOCKET",
    "SystemLogLine",
    "copy_key",
    "eventually",
    "expect",
    "expect_equal",
    "has_sanitizer",
    "hostile_service",
    "join",
    "joined_nodes",
    "nodes",
    "one_node",
]
