# SPDX-License-Identifier: Apache-2.0
"""All programs that are compared over time, each in nodes of its own, at the same time."""

import contextlib
import time
from dataclasses import dataclass

from harness import eventually, joined_nodes, one_node

from . import related
from .machine import Failed
from .pair import live_pair
from .programs import cpu_ns, status_field, wake_ups
from .related import Related


@dataclass
class Member:
    """`pids` yields the processes that count."""

    name: str
    pids: object

    def locked(self):
        return sum(status_field(pid, "VmLck") for pid in self.pids())

    def resident(self):
        return sum(status_field(pid, "VmRSS") for pid in self.pids())

    def cpu(self):
        return sum(cpu_ns(pid) for pid in self.pids())

    def wakes(self):
        return sum(wake_ups(pid) for pid in self.pids())


def has_threads(program):
    return status_field(program.pids()[0], "Threads") == 9


def skeleton(node):
    words = [node.address, f"10.77.0.{3 - node.number}", "link0", "/tmp/skeleton.socket"]
    return Related(node, "skeleton", "/mnt/build/bin/bench_skeleton", *words, "/var/log/ha/record")


def lives(pid):
    """Not ended: monit takes note of what it ran only at its next cycle."""
    try:
        return status_field(pid, "VmRSS") > 0
    except (Failed, FileNotFoundError):
        return False


def lasting(program):
    """The program as a member, without what it runs for a moment only."""
    time.sleep(1)
    seen = set(program.pids())
    time.sleep(1)
    pids = [pid for pid in program.pids() if pid in seen and lives(pid)]
    return Member(program.name, lambda: pids)


@contextlib.contextmanager
def two(machine, start, *, offered=True):
    """The same program in two joined nodes; the first one's counts."""
    with joined_nodes(machine.build) as (node1, node2):
        if offered:
            related.offer(machine, node1)
            related.offer(machine, node2)
        first, _ = start(node1), start(node2)
        yield lasting(first)


@contextlib.contextmanager
def one(machine, start):
    with one_node(machine.build) as node:
        related.offer(machine, node)
        yield lasting(start(node))


@contextlib.contextmanager
def floor(machine):
    with one_node(machine.build) as node:
        program = Related(node, "floor", "/mnt/build/bin/bench_floor")
        eventually("the floor has its threads", lambda: has_threads(program))
        yield Member("floor", program.pids)


@contextlib.contextmanager
def crew(machine):
    """Members by name, and two of them as they are: the node and the daemon of this product."""
    with contextlib.ExitStack() as stack:
        node, _, daemon, _ = stack.enter_context(live_pair(machine))
        members = [Member("ours", lambda: [daemon.pid])]
        members += [
            stack.enter_context(two(machine, skeleton, offered=False)),
            stack.enter_context(two(machine, related.corosync)),
            stack.enter_context(two(machine, related.keepalived)),
            stack.enter_context(two(machine, related.monit)),
            stack.enter_context(one(machine, related.node_exporter)),
            stack.enter_context(floor(machine)),
        ]
        yield {each.name: each for each in members}, node, daemon

