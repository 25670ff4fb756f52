# SPDX-License-Identifier: Apache-2.0
"""A question asked by a process of its own, and one asked by a fresh connection."""

import subprocess

from frame import Comparison, alternate, pin, pinned, related, run_json
from frame.pair import live_pair
from harness import STATUS_SOCKET, eventually, joined_nodes

RUNS = 20
CONNECTIONS = 300
KEY = "totem.cluster_name"

WHOLE = """Wall time of `korahamonctl status` against `corosync-cmapctl -g` with one key, each as a
whole process from exec to exit, the median of 20 after another, both ends pinned to one core."""
FRESH = """Connect, request, reply, close on the status socket, against cmap_initialize,
cmap_get_string and cmap_finalize of corosync's own library, in a process that goes on; both ends
pinned to one core."""


def corosync_answers(node):
    command = node.enter() + ["/usr/sbin/corosync-cmapctl", "-g", KEY]
    quiet = {"stdout": subprocess.DEVNULL, "stderr": subprocess.DEVNULL}
    return subprocess.run(command, **quiet).returncode == 0


def rows(machine):
    with live_pair(machine) as (node, _, daemon, _), joined_nodes(machine.build) as other:
        for each in other:
            related.offer(machine, each)
        programs = [related.corosync(each) for each in other]
        eventually("corosync answers", lambda: corosync_answers(other[0]))
        for pid in [daemon.pid, *programs[0].pids()]:
            pin(pid, machine.core)

        def ours(*command):
            return node.enter() + pinned(machine.core, *command)

        def theirs(*command):
            return other[0].enter() + pinned(machine.core, *command)

        timer = ["/mnt/build/bin/bench_whole_process", "exit", RUNS]
        whole = alternate(
            lambda: run_json(ours(*timer, "/mnt/build/bin/korahamonctl", "status")),
            lambda: run_json(theirs(*timer, "/usr/sbin/corosync-cmapctl", "-g", KEY)),
        )
        fresh = alternate(
            lambda: run_json(
                ours("/mnt/build/bin/bench_ask", "connect", STATUS_SOCKET, CONNECTIONS)
            ),
            lambda: run_json(theirs("/mnt/build/bin/bench_ask_corosync", CONNECTIONS)),
        )
    millis = [[each["p50"] / 1e6 for each in side] for side in whole]
    yield Comparison("korahamonctl status, whole process", millis[0], "ms", WHOLE,
                     "corosync-cmapctl -g", millis[1], most=0.3)
    micros = [[each["p50"] / 1e3 for each in side] for side in fresh]
    yield Comparison("connect, status request, close against corosync", micros[0], "µs", FRESH,
                     "one key of corosync", micros[1], most=0.05)
