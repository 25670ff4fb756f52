# SPDX-License-Identifier: Apache-2.0
"""Whatever answers in place of the peer's service: the answer is negative within a second or so,
the status says why, and the daemon goes on as before."""

import os

from harness import SHORT_INTERVALS, copy_key, expect, expect_equal, hostile_service, joined_nodes
from harness import peer

TAKES_SECONDS = 50

OTHER_KEY = bytes(range(32))

# The text's bound for a request is 1 s in all; a machine with other work gets several times that.
LONGEST_SECONDS = 5


def nothing(connection):
    pass


def hang_up(connection):
    peer.receive_frame(connection)
    connection.close()


def garbage(connection):
    connection.sendall(b"HTTP/1.0 400 Bad Request\r\n\r\n")


def half_a_message(connection):
    peer.receive_frame(connection)
    connection.sendall(peer.frame(peer.CHALLENGE, b"12345", length=48))


def byte_by_byte(connection):
    peer.receive_frame(connection)
    for byte in peer.frame(peer.CHALLENGE, os.urandom(48)):
        connection.sendall(bytes([byte]))
        connection.settimeout(0.2)
        try:
            connection.recv(1)
        except TimeoutError:
            pass


def endless(connection):
    while True:
        connection.sendall(peer.frame(peer.CHALLENGE, os.urandom(1 << 16), length=40))


def too_long(connection):
    connection.sendall(peer.frame(peer.CHALLENGE, b"", length=(1 << 32) - 1) + b"x" * 100_000)


def unknown_version(connection):
    peer.receive_frame(connection)
    connection.sendall(peer.frame(peer.CHALLENGE, b"", version=9))


def out_of_turn(connection):
    peer.receive_frame(connection)
    connection.sendall(peer.frame(peer.REPLY, peer.state()))


def refusal_of_control_characters(connection):
    peer.receive_frame(connection)
    connection.sendall(peer.frame(peer.REFUSAL, b"\x1b[2J\n\0" * 2000))


def keyless(connection):
    peer.reply(connection, peer.state())


def unheld_key(connection):
    peer.reply(connection, peer.state(), key=OTHER_KEY)


def echo(connection):
    while data := connection.recv(65536):
        connection.sendall(data)


def with_key(key):
    """What only one who holds the key, or pretends to, can answer."""

    def sealed(payload):
        return lambda connection: peer.reply(connection, payload, key=key)

    def wrong_key(connection):
        peer.reply(connection, peer.state(), named=key, sealed_with=OTHER_KEY)

    deep = b'{"disks":' * 20 + b"1" + b"}" * 20
    return {
        "the peer's answer does not prove itself": wrong_key,
        "the peer's answer is no JSON": sealed(b"{not json"),
        "the peer's answer is nested too deep": sealed(b"[" * 60_000),
        "the peer's answer is nested too deep ": sealed(deep),
        "the peer's answer lacks what it must hold": sealed(b"[]"),
        "the peer's answer lacks what it must hold ": sealed(peer.state(mdResync="yes")),
    }


WITHOUT_KEY = {
    "no answer in time": nothing,
    "the peer hung up": hang_up,
    "the peer sent what is no answer: not a frame": garbage,
    "no answer in time ": half_a_message,
    "no answer in time  ": byte_by_byte,
    "the peer sent what is no answer: bytes behind the frame": endless,
    "the peer sent what is no answer: frame too long": too_long,
    "the peer sent what is no answer: unknown frame version": unknown_version,
    "the peer answered out of turn": out_of_turn,
    "the peer refused: ?[2J??": refusal_of_control_characters,
    "the peer does not hold this node's key": keyless,
    "the peer does not hold this node's key ": unheld_key,
    "the peer answered out of turn ": echo,
}


def meet(daemon, node2, reason, behaviour):
    with hostile_service(node2, behaviour) as service:
        reason = reason.strip()
        status = daemon.wait_for(
            f"the reason is {reason}",
            lambda status: status["readings"]["remoteMDResync"]["reason"].startswith(reason)
            and len(service.durations) >= 2,
        )
        expect_equal(status["readings"]["remoteMDResync"]["valid"], False, "validity")
        expect_equal(status["remoteMDResync"], False, "resync of the peer")
        expect_equal(status["remoteDiskErrHandling"], False, "error handling of the peer")
        expect_equal(status["errHandlingDisksRemote"], [], "disks of the peer")
        expect(status["remoteAlive"], "the peer still answers echoes")
        slowest = max(service.durations)
    expect(slowest < LONGEST_SECONDS, f"{reason} took {slowest:.1f} s")


def case(build):
    with joined_nodes(build) as (node1, node2):
        key = copy_key(node1, node2)
        daemon = node1.daemon(settings=SHORT_INTERVALS).serves()
        for reason, behaviour in {**WITHOUT_KEY, **with_key(key)}.items():
            meet(daemon, node2, reason, behaviour)
        honest = peer.state(mdResync=True, diskErrHandling=True, disks=["sda", "x" * 65, 7, "a b"])
        with hostile_service(node2, lambda each: peer.reply(each, honest, key=key)):
            status = daemon.wait_for("an honest answer counts", lambda now: now["remoteMDResync"])
            expect_equal(status["errHandlingDisksRemote"], ["sda"], "only usable names")
