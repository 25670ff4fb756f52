# SPDX-License-Identifier: Apache-2.0
"""Keeps many hostile connections open to one service, each made anew as soon as it is dropped.

    hostile_connections.py COUNT local PATH
    hostile_connections.py COUNT peer ADDRESS FROM

Prints a line once all have been made, and runs until it is killed."""

import os
import selectors
import socket
import sys
import time

AGAIN_SECONDS = 0.05
LINE = b'{"request":"history"}\n'
HELLO = b"KH\x01\x01\x00\x00\x00\x20" + bytes(range(32))

# What each sends first, whether it goes on sending that, and whether it reads.
LOCAL = [
    (b"", False, False),  # idle
    (b'{"request":"watch"}\n', False, False),  # watches and never reads
    (b'{"request":"watch"}\n', False, True),
    (b'{"request":"sta', False, True),  # half a line
    (LINE * 50, True, False),  # asks for much and never reads
    (b'{"request":"status"}\n', True, True),  # asks without a pause
    (b"x" * 4000, True, True),  # an endless line
    (os.urandom(2000), True, True),
    (b"[" * 4000 + b"\n", True, True),
]
PEER = [
    (b"", False, False),
    (HELLO[:20], False, True),  # half a greeting
    (HELLO, False, True),  # and no request
    (HELLO, True, True),  # greets again and again
    (b"KH\x01\x01\xff\xff\xff\xff" + b"x" * 4000, True, True),
    (os.urandom(2000), True, True),
    (b"GET / HTTP/1.0\r\n\r\n", False, True),
]


class Hostile:
    def __init__(self, number, make):
        kinds = PEER if make is make_peer else LOCAL
        self.first, self.goes_on, self.reads = kinds[number % len(kinds)]
        self.make = make
        self.socket = None
        self.due = 0.0

    def open(self, selector):
        try:
            self.socket = self.make()
            if self.first:
                self.socket.send(self.first)
        except OSError:
            self.drop(selector)
            return
        events = selectors.EVENT_READ if self.reads else 0
        events |= selectors.EVENT_WRITE if self.goes_on else 0
        if events:
            selector.register(self.socket, events, self)

    def drop(self, selector):
        if self.socket is not None:
            try:
                selector.unregister(self.socket)
            except KeyError:
                pass
            self.socket.close()
        self.socket = None
        self.due = time.monotonic() + AGAIN_SECONDS

    def act(self, selector, events):
        try:
            if events & selectors.EVENT_READ and not self.socket.recv(65536):
                self.drop(selector)
            elif events & selectors.EVENT_WRITE:
                self.socket.send(self.first)
        except BlockingIOError:
            pass
        except OSError:
            self.drop(selector)

    def look(self, selector):
        """Those that neither read nor write notice in this way that they were dropped."""
        if self.socket is None:
            if time.monotonic() >= self.due:
                self.open(selector)
            return
        if not self.reads:
            try:
                if self.socket.recv(1, socket.MSG_PEEK | socket.MSG_DONTWAIT) == b"":
                    self.drop(selector)
            except BlockingIOError:
                pass
            except OSError:
                self.drop(selector)


def make_local():
    made = socket.socket(socket.AF_UNIX)
    made.setblocking(False)
    made.connect(sys.argv[3])
    return made


def make_peer():
    made = socket.socket()
    made.setsockopt(socket.IPPROTO_IP, socket.IP_TTL, 255)
    made.bind((sys.argv[4], 0))
    made.settimeout(1)
    made.connect((sys.argv[3], 8909))
    made.setblocking(False)
    return made


def main():
    selector = selectors.DefaultSelector()
    make = {"local": make_local, "peer": make_peer}[sys.argv[2]]
    all_of_them = [Hostile(number, make) for number in range(int(sys.argv[1]))]
    print("ready", flush=True)
    next_look = 0.0
    while True:
        for key, events in selector.select(0.01):
            key.data.act(selector, events)
        if time.monotonic() >= next_look:
            for each in all_of_them:
                each.look(selector)
            next_look = time.monotonic() + 0.02


if __name__ == "__main__":
    main()
