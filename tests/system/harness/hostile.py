# SPDX-License-Identifier: Apache-2.0
"""A service on the peer's port that treats every connection in one way, in a thread of its own."""

import contextlib
import select
import threading
import time

from . import peer


class HostileService:
    """`behaviour` gets each connection; afterwards the connection is kept open until the daemon
    leaves it. `durations` tells how long each lasted."""

    def __init__(self, node, behaviour):
        self.durations = []
        self._behaviour = behaviour
        self._listener = peer.listener(node)
        self._stopping = False
        self._thread = threading.Thread(target=self._serve, daemon=True)
        self._thread.start()

    def stop(self):
        self._stopping = True
        self._thread.join()
        self._listener.close()

    def _serve(self):
        while not self._stopping:
            ready, _, _ = select.select([self._listener], [], [], 0.1)
            if ready:
                self._serve_one()

    def _serve_one(self):
        connection, _ = self._listener.accept()
        started = time.monotonic()
        with connection, contextlib.suppress(OSError):
            connection.settimeout(20)
            self._behaviour(connection)
            while connection.recv(65536):
                pass
        self.durations.append(time.monotonic() - started)


@contextlib.contextmanager
def hostile_service(node, behaviour):
    service = HostileService(node, behaviour)
    try:
        yield service
    finally:
        service.stop()
