# SPDX-License-Identifier: Apache-2.0
"""Signals do to the daemon what they do to any program: they end it at once."""

import signal

from harness import SHORT_INTERVALS, expect_equal, one_node


SIGNALS = (signal.SIGTERM, signal.SIGHUP, signal.SIGINT, signal.SIGUSR1, signal.SIGKILL)


def case(build):
    with one_node(build) as node:
        for number in SIGNALS:
            daemon = node.daemon(settings=SHORT_INTERVALS).serves()
            daemon.signal(number)
            expect_equal(daemon.ended(), -number, f"how it ends on {number.name}")
