# SPDX-License-Identifier: Apache-2.0
"""Counts that do not depend on the machine's mood."""

import json
import re
import socket
import subprocess
import time
from pathlib import Path

from frame import Count, median, run_json, status_field, wake_ups
from frame.pair import live_pair
from harness import STATUS_SOCKET, eventually

REQUESTS = 200
LINES = 100
LOCKED_KB = 9216
QUIET_SECONDS = 30

CALLS = """System calls of the daemon, counted by strace, while a client asks 200 times over one
connection: poll, recv and send for each, and the looks that come once a second."""
SET = """System calls and allocations of a process that sets 400 lines more than another one of the
same kind (counted by strace, and by standing in for malloc)."""
MEMORY = "VmLck and Threads of the daemon with a live peer, as the kernel tells them."
IDLE = """Voluntary context switches of the whole daemon in 30 s at default intervals with a live
peer: the supervisor's one-second waits are 30 of them."""


def traced(node, daemon, work):
    """How many calls of which kind the daemon makes meanwhile."""
    output = Path(node.keep) / "strace"
    with subprocess.Popen(["strace", "-f", "-o", output, "-p", str(daemon.pid)],
                          stderr=subprocess.PIPE) as tracer:
        eventually("strace is attached", lambda: tracer.stderr.readline())
        work()
        tracer.terminate()
    calls = {}
    for name in re.findall(r"^\d+ +(\w+)\(", output.read_text(), re.MULTILINE):
        calls[name] = calls.get(name, 0) + 1
    return calls


def ask_often(node):
    with socket.socket(socket.AF_UNIX) as client, client.makefile("rb") as replies:
        client.connect(node.path(STATUS_SOCKET))
        for _ in range(REQUESTS):
            client.sendall(b'{"request":"status"}\n')
            json.loads(replies.readline())


def status_calls(node, daemon):
    calls = traced(node, daemon, lambda: ask_often(node))
    names = ("poll", "ppoll", "recvfrom", "recvmsg", "sendto", "sendmsg")
    talking = sum(calls.get(name, 0) for name in names)
    yield Count("system calls per status request, talking", [talking / REQUESTS], "", CALLS,
                most=3.5)
    # The other routines' passes and the reply's sources, once a second and once in five.
    others = sum(calls.values()) - talking
    yield Count("system calls per status request, others", [others / REQUESTS], "", CALLS, most=5)


def set_lines(node, lines, *through):
    words = [*node.enter(), *through, "/mnt/build/bin/bench_set_allocations", "/tmp", str(lines)]
    return run_json(words)


def set_counts(node):
    def calls(lines):
        set_lines(node, lines, "strace", "-f", "-o", "/tmp/strace")
        text = node.read("/tmp/strace")
        return len([each for each in text.splitlines() if "+++" not in each])

    few, many = calls(LINES), calls(5 * LINES)
    yield Count("system calls per set", [max(0, many - few) / (4 * LINES)], "", SET, most=0.02)
    figures = set_lines(node, LINES)
    yield Count("allocations per set", [figures["allocations"] / LINES], "", SET, most=0)


def idle_counts(daemon):
    before = wake_ups(daemon.pid)
    time.sleep(QUIET_SECONDS)
    woken = wake_ups(daemon.pid) - before
    yield Count("wake-ups in 30 s", [woken], "", IDLE, most=110)


def rows(machine):
    with live_pair(machine) as (node, _, daemon, _):
        yield Count("locked memory", [status_field(daemon.pid, "VmLck")], "kB", MEMORY,
                    most=LOCKED_KB)
        yield Count("threads", [median([status_field(daemon.pid, "Threads")])], "", MEMORY,
                    most=9, least=9)
        yield from idle_counts(daemon)
        yield from status_calls(node, daemon)
        yield from set_counts(node)
