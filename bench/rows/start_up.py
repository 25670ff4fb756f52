# SPDX-License-Identifier: Apache-2.0
"""From exec to the first answer."""

from frame import Shown, alternate, pinned, run_json
from harness import STATUS_SOCKET, one_node

ECHO = "/tmp/echo.socket"

HOW = """From starting the program to the first answer on its socket, tried every 0.2 ms, pinned to
one core; the node has no link. The reference is the bare echo server of the other rows."""


def rows(machine):
    with one_node(machine.build) as node:

        def answered_ms(path, *command):
            timer = ["/mnt/build/bin/bench_whole_process", "answer", path, *command]
            return run_json(node.enter() + pinned(machine.core, *timer))["p50"] / 1e6

        daemon = ["/mnt/build/bin/koraharemotemond", "10.77.0.1", "10.77.0.2", "link0"]
        echo = ["/mnt/build/bin/bench_echo_server", "many", ECHO, "2000"]
        ours, reference = alternate(
            lambda: answered_ms(STATUS_SOCKET, *daemon), lambda: answered_ms(ECHO, *echo)
        )
    yield Shown("start-up", ours, "ms", HOW, "bare echo", reference)
