# SPDX-License-Identifier: Apache-2.0
"""The status socket against a server that sends the same number of bytes without a thought."""

import socket

from frame import Comparison, Count, alternate, median, pin, pinned, run_json, running
from harness import eventually
from frame.pair import live_pair

STATUS = "/tmp/.ha_daemon.socket"
ECHO = "/tmp/echo.socket"
REQUESTS = 20_000
CONNECTIONS = 4_000
CLIENTS = 15
SECONDS = 2

KEPT = """One connection, both ends pinned to one core. The reference is a server that accepts, then
receives and sends a fixed reply of the same size, blocking, until the client leaves: it serves no
second client and knows no time."""
CONNECT = """Connect, request, reply, close, both ends pinned to one core, against the same server
of one client at a time."""
CROWD = """15 connections kept busy by 15 threads on one core, the server on the other. The
reference is one thread with poll that receives and sends a fixed reply."""


class Servers:
    """The daemon's door and an echo with replies as long, in one node's /tmp."""

    def __init__(self, machine, node, daemon):
        self.machine = machine
        self.node = node
        self.bytes = len(raw_reply(node.path(STATUS)))
        self.daemon = daemon

    def echo(self, mode):
        program = ["/mnt/build/bin/bench_echo_server", mode, ECHO, self.bytes]
        return running(self.node.enter() + pinned(self.machine.core, *program))

    def ask(self, core, mode, path, *arguments):
        program = [self.machine.program("ask"), mode, self.node.path(path), *arguments]
        return run_json(pinned(core, *program))

    def both(self, echo, core, mode, *arguments):
        """Replies of the daemon and of the echo, by turns."""
        with self.echo(echo):
            eventually("the echo serves", lambda: self.node.exists(ECHO))
            self.ask(core, mode, ECHO, *arguments)
            taken = alternate(
                lambda: self.ask(core, mode, STATUS, *arguments),
                lambda: self.ask(core, mode, ECHO, *arguments),
            )
        self.node.remove(ECHO)
        return taken


def raw_reply(path):
    with socket.socket(socket.AF_UNIX) as client:
        client.connect(path)
        client.sendall(b'{"request":"status"}\n')
        with client.makefile("rb") as replies:
            return replies.readline()


def pick(figures, name, scale=1.0):
    return [each[name] * scale for each in figures]


def compare(name, both, figure, how, scale=1e-3, unit="µs", **bound):
    return Comparison(
        name,
        pick(both[0], figure, scale),
        unit,
        how,
        "bare echo",
        pick(both[1], figure, scale),
        **bound,
    )


def rows(machine):
    with live_pair(machine) as (node, _, daemon, _):
        pin(daemon.pid, machine.core)
        servers = Servers(machine, node, daemon)
        kept = servers.both("one", machine.core, "kept", REQUESTS)
        fresh = servers.both("one", machine.core, "connect", CONNECTIONS)
        one = servers.both("many", machine.other, "crowd", 1, SECONDS)
        crowd = servers.both("many", machine.other, "crowd", CLIENTS, SECONDS)
    yield compare("status request, kept connection, p50", kept, "p50", KEPT, most=1.3)
    yield compare("status request, kept connection, p99", kept, "p99", KEPT, most=1.5)
    yield compare("connect, status request, close, p50", fresh, "p50", CONNECT, most=1.5)
    rate = {"scale": 1, "unit": "/s", "least": 0.7}
    yield compare("status requests per second, 1 client", one, "perSecond", CROWD, **rate)
    yield compare("status requests per second, 15 clients", crowd, "perSecond", CROWD, **rate)
    slowest = pick(crowd[0], "slowestOfMean")
    yield Count("slowest of 15 clients, part of the mean", [median(slowest)], "", CROWD, least=0.5)
