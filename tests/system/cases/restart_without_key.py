# SPDX-License-Identifier: Apache-2.0
"""Without a key the peer's state is told, but a restart is neither asked for nor obeyed; and a node
that holds a key obeys nobody who does not."""

import json

from harness import SHORT_INTERVALS, copy_key, eventually, expect_equal, joined_nodes, peer

SETTINGS = {**SHORT_INTERVALS, "THR_OF_RDISK_ERRHANDLE": 1}
ASK = json.dumps({"request": "restart", "reason": "none"}).encode()


def ask_without_key(node, address):
    """Returns the daemon's last frame: its type and body."""
    with peer.connect(node, address) as connection:
        connection.sendall(peer.frame(peer.HELLO, bytes(peer.NONCE_BYTES)))
        kind, body = peer.receive_frame(connection)
        if kind != peer.CHALLENGE:
            return kind, body
        connection.sendall(peer.frame(peer.REQUEST, ASK))
        return peer.receive_frame(connection)


def ask_with_other_key(node, address, named, key):
    nonce = bytes(peer.NONCE_BYTES)
    with peer.connect(node, address) as connection:
        connection.sendall(peer.frame(peer.HELLO, nonce + peer.key_id(named)))
        kind, body = peer.receive_frame(connection)
        if kind != peer.CHALLENGE:
            return kind, body
        server_nonce = body[: peer.NONCE_BYTES]
        sealed = peer.seal(key, peer.REQUEST, nonce, server_nonce, ASK)
        connection.sendall(peer.frame(peer.REQUEST, sealed))
        return peer.receive_frame(connection)


def case(build):
    other = bytes(range(32))
    with joined_nodes(build) as (node1, node2):
        daemon = node1.daemon(settings=SETTINGS).serves()
        eventually("the peer is served", lambda: node1.run("ss", "-Hltn", "sport", "=", "8909"))
        kind, body = ask_without_key(node2, node1.address)
        expect_equal(kind, peer.REPLY, "the answer's type")
        wanted = {"accepted": False, "reason": "a restart needs the peer key"}
        expect_equal(json.loads(body), wanted, "the answer without any key")

        key = copy_key(node1, node2)
        refusal = (peer.REFUSAL, b"no key that both nodes hold")
        expect_equal(ask_without_key(node2, node1.address), refusal, "without a key")
        expect_equal(
            ask_with_other_key(node2, node1.address, other, other), refusal, "with another key"
        )
        expect_equal(
            ask_with_other_key(node2, node1.address, key, other),
            (peer.REFUSAL, b"a request that does not prove itself"),
            "with another key under the right one's name",
        )
        daemon.wait_for("it goes on", lambda status: status["remoteAlive"])
        expect_equal(node1.read("/run/restarts"), "", "what the restart command recorded")

        kind, body = ask_with_other_key(node2, node1.address, key, key)
        expect_equal(kind, peer.REPLY, "the answer's type with the key")
        eventually("with the key it is obeyed", lambda: node1.read("/run/restarts") == "restart\n")
