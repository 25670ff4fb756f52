# SPDX-License-Identifier: Apache-2.0
"""The heartbeat probe against ping and a bare raw socket."""

import re
import subprocess

from frame import Comparison, Shown, alternate, pinned, run_json
from harness import joined_nodes

TURNS = 10

RAW = """The value of heartbeatLatency() against a raw socket that sends one echo and takes the
kernel's stamp of the reply: medians of five echoes 20 ms apart, by turns in one process, over a
veth link, medians of ten turns."""
PING = """The value of heartbeatLatency() against the median of `ping -c 5 -i 0.02` on the same
link, which takes the time in its own process."""


def ping_ns(machine, node):
    command = ["ping", "-c", "5", "-i", "0.02", "-I", "10.77.0.1", "10.77.0.2"]
    done = subprocess.run(
        node.enter() + pinned(machine.core, *command), stdout=subprocess.PIPE, check=True
    )
    trips = sorted(float(each) for each in re.findall(r"time=([\d.]+) ms", done.stdout.decode()))
    return trips[len(trips) // 2] * 1e6


def both(machine, node):
    program = ["/mnt/build/bin/bench_heartbeat", "10.77.0.1", "10.77.0.2", "link0", TURNS]
    return run_json(node.enter() + pinned(machine.core, *program))


def rows(machine):
    with joined_nodes(machine.build) as (node, _):
        figures, pings = alternate(lambda: both(machine, node), lambda: ping_ns(machine, node))
    ours = [each["ours"] / 1e3 for each in figures]
    raw = [each["raw"] / 1e3 for each in figures]
    pings = [each / 1e3 for each in pings]
    yield Comparison("heartbeat latency", ours, "µs", RAW, "raw socket", raw, most=1.5)
    yield Shown("heartbeat latency, ping", ours, "µs", PING, "ping", pings)
