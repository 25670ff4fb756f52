# SPDX-License-Identifier: Apache-2.0
"""Whether the daemon grows: an hour of passes and a million requests."""

from frame import Count, pinned, run_json, status_field
from frame.pair import await_peer, pair
from harness import STATUS_SOCKET, eventually

REQUESTS = 1_000_000
SLOWEST_PASS_SECONDS = 15
HOUR_OF_PASSES = 3600 // SLOWEST_PASS_SECONDS
FIRST_PASSES = 8

GROWTH = """VmLck after a million status requests and an hour of passes, less VmLck after the first
eight passes. sleep() of the daemon is preloaded with one that takes a two-hundredth of the time;
nothing else is changed, and the passes are counted in the daemon's own history: 240 heartbeat
samples, one every 15 s, are an hour."""


def passes(daemon):
    samples = daemon.ask("history")["samples"]
    return sum(1 for each in samples if each["kind"] == "hbLatency")


def start(machine, node):
    library = f"/mnt/build/lib/{machine.preloaded('fast_sleep').name}"
    return node.daemon(settings={}, through=["env", f"LD_PRELOAD={library}"])


def rows(machine):
    with pair(machine) as (node1, node2):
        daemon, _ = start(machine, node1), start(machine, node2)
        await_peer(daemon)
        eventually("the first passes", lambda: passes(daemon) >= FIRST_PASSES, 120)
        before = status_field(daemon.pid, "VmLck")
        ask = [machine.program("ask"), "kept", node1.path(STATUS_SOCKET), REQUESTS]
        run_json(pinned(machine.other, *ask))
        eventually("an hour of passes", lambda: passes(daemon) >= HOUR_OF_PASSES, 400, 1)
        growth = status_field(daemon.pid, "VmLck") - before
    yield Count("growth in an hour and a million requests", [growth], "kB", GROWTH, most=256)
