# SPDX-License-Identifier: Apache-2.0
"""Thousands of hostile exchanges, as a service and as a client of the daemon's own ports: its
memory does not grow, no descriptor is left behind, and it serves as before."""

import contextlib
import os
import socket
import struct
import time

from harness import SHORT_INTERVALS, STATUS_SOCKET, copy_key, eventually, expect
from harness import expect_equal, has_sanitizer, hostile_service, joined_nodes, peer

TAKES_SECONDS = 40

ROLE_MARKER = "/tmp/ha_role_active"
NO_PAUSE_WHEN_ACTIVE = {**SHORT_INTERVALS, "BASE_INTERVAL_ACTIVE": 0}
ROUNDS = 6
CLIENTS_A_ROUND = 300
GROWTH_KIB = 512

HALF = peer.frame(peer.HELLO, b"", length=1 << 16) + b"x" * 1000
WHOLE = [
    b"GET / HTTP/1.0\r\n\r\n",
    os.urandom(100_000),
    peer.frame(peer.HELLO, os.urandom(32) + os.urandom(16)),
    peer.frame(peer.REQUEST, b"[" * 60_000),
]


def flood_from_peer(node2, address):
    """As the peer's client: connections that are left in the middle or before the answer, reset, or
    read to their end."""
    for number in range(CLIENTS_A_ROUND):
        message = WHOLE[number % len(WHOLE)]
        with contextlib.suppress(OSError), peer.connect(node2, address) as connection:
            connection.sendall(HALF if number % 3 == 0 else message)
            if number % 5 == 0:
                connection.setsockopt(socket.SOL_SOCKET, socket.SO_LINGER, struct.pack("ii", 1, 0))
            elif number % 5 < 3 and number % 3 != 0:
                connection.recv(4096)


def flood_from_clients(node1):
    """As clients of the status socket."""
    for number in range(CLIENTS_A_ROUND):
        with contextlib.suppress(OSError), socket.socket(socket.AF_UNIX) as client:
            client.settimeout(5)
            client.connect(node1.path(STATUS_SOCKET))
            client.sendall([b"[" * 4000 + b"\n", b"\0\n" * 500, b"x" * 100_000][number % 3])
            client.recv(4096)


def answer_many_names(connection, key, started=time.monotonic()):
    """Authentic, with new disk names each time."""
    stamp = f"{time.monotonic() - started:.6f}"
    names = [f"disk{stamp}-{number}" for number in range(300)]
    peer.reply(connection, peer.state(disks=names), key=key)


def one_round(node1, node2, key):
    flood_from_peer(node2, node1.address)
    flood_from_clients(node1)
    for behaviour in (
        lambda each: each.sendall(os.urandom(200_000)),
        lambda each: peer.reply(each, b"[" * 60_000, key=key),
        lambda each: answer_many_names(each, key),
    ):
        with hostile_service(node2, behaviour) as service:
            node1.write(ROLE_MARKER, "")
            eventually("many exchanges happen", lambda: len(service.durations) > 50)
            node1.remove(ROLE_MARKER)


def descriptors(daemon):
    return len(os.listdir(f"/proc/{daemon.pid}/fd"))


def dying_connections(node):
    return node.run("ss", "-Htan", "state", "last-ack", "sport", "=", str(peer.PORT))


def expect_no_growth(before, after):
    print(f"figure: memory {before} KiB before, {after} KiB after {ROUNDS} rounds")
    expect(after <= before + GROWTH_KIB, f"memory grew from {before} to {after} KiB")


def case(build):
    with joined_nodes(build) as (node1, node2):
        key = copy_key(node1, node2)
        daemon = node1.daemon(settings=NO_PAUSE_WHEN_ACTIVE).serves()
        one_round(node1, node2, key)
        before, open_before = daemon.resident_kib(), descriptors(daemon)
        for _ in range(ROUNDS):
            one_round(node1, node2, key)
        eventually("no more descriptors than before", lambda: descriptors(daemon) <= open_before)
        eventually("no dying connections", lambda: not dying_connections(node1), 30)
        if has_sanitizer(build):
            print("skipped here: growth of memory, their runtime keeps freed memory to itself")
        else:
            expect_no_growth(before, daemon.resident_kib())
        with hostile_service(node2, lambda each: peer.reply(each, peer.state(), key=key)):
            status = daemon.wait_for(
                "an honest peer is believed",
                lambda now: now["readings"]["remoteMDResync"]["valid"]
                and now["ageSeconds"]["remoteMDResync"] < 3,
            )
        expect_equal(status["remoteAlive"], True, "the peer")
