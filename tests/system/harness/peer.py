# SPDX-License-Identifier: Apache-2.0
"""The protocol of the peer's port, for a peer that is honest only as far as a case wants it.

Four frames make an exchange: hello, challenge, request, reply. A frame is "KH", the version, the
type, the body's length (32 bits, big-endian) and the body."""

import hashlib
import json
import os
import socket
import struct

PORT = 8909
HELLO, CHALLENGE, REQUEST, REPLY, REFUSAL = range(1, 6)
VERSION = 1
NONCE_BYTES = 32
KEY_ID_BYTES = 8
ON_LINK = 255


def frame(kind, body, version=VERSION, length=None):
    size = len(body) if length is None else length
    return b"KH" + bytes([version, kind]) + struct.pack(">I", size) + body


def receive_exactly(connection, count):
    data = b""
    while len(data) < count:
        more = connection.recv(count - len(data))
        if not more:
            raise ConnectionError("the daemon hung up")
        data += more
    return data


def receive_frame(connection):
    head = receive_exactly(connection, 8)
    return head[3], receive_exactly(connection, struct.unpack(">I", head[4:])[0])


def key_id(key):
    return hashlib.blake2b(b"koraha peer key id", key=key, digest_size=32).digest()[:KEY_ID_BYTES]


def seal(key, kind, client_nonce, server_nonce, payload):
    """The payload behind the proof that its sender holds the key."""
    text = b"koraha peer exchange" + bytes([VERSION, kind]) + client_nonce + server_nonce + payload
    return hashlib.blake2b(text, key=key, digest_size=32).digest() + payload


def state(**changes):
    """What an honest peer tells, with what a case wants otherwise."""
    told = {
        "protocol": 1,
        "mdResync": False,
        "mdResyncUnknown": "",
        "diskErrHandling": False,
        "diskErrHandlingUnknown": "",
        "disks": [],
        "software": "1.0.0",
        "bootId": "",
        "time": 0,
    }
    return json.dumps({**told, **changes}).encode()


def reply(connection, payload, key=None, named=None, sealed_with=None):
    """Serves one exchange. `named` is the key that the challenge names, `sealed_with` the one that
    proves the reply; both are `key` unless told otherwise."""
    _, hello = receive_frame(connection)
    nonce = os.urandom(NONCE_BYTES)
    name = key_id(named or key) if named or key else b""
    connection.sendall(frame(CHALLENGE, nonce + name))
    receive_frame(connection)
    body = payload
    if sealed_with or key:
        body = seal(sealed_with or key, REPLY, hello[:NONCE_BYTES], nonce, payload)
    connection.sendall(frame(REPLY, body))


def listener(node):
    """A listening socket where the node's daemon would serve the peer."""
    made = node.socket()
    made.setsockopt(socket.SOL_SOCKET, socket.SO_REUSEADDR, 1)
    made.setsockopt(socket.IPPROTO_IP, socket.IP_TTL, ON_LINK)
    made.bind((node.address, PORT))
    made.listen(16)
    return made


def connect(node, address):
    """A connection to the daemon of the other node, from this one's address."""
    made = node.socket()
    made.settimeout(5)
    made.setsockopt(socket.IPPROTO_IP, socket.IP_TTL, ON_LINK)
    made.bind((node.address, 0))
    made.connect((address, PORT))
    return made


def ask(node, address, key, payload):
    """An honest exchange with the daemon of the other node; returns the answer's JSON text."""
    with connect(node, address) as connection:
        nonce = os.urandom(NONCE_BYTES)
        connection.sendall(frame(HELLO, nonce + key_id(key)))
        _, challenge = receive_frame(connection)
        body = seal(key, REQUEST, nonce, challenge[:NONCE_BYTES], payload)
        connection.sendall(frame(REQUEST, body))
        kind, answer = receive_frame(connection)
    if kind != REPLY:
        raise ConnectionError(f"refused: {answer!r}")
    return answer[32:]
