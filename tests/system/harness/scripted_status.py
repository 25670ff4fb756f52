# SPDX-License-Identifier: Apache-2.0
"""A status socket that says what a case wants to be said."""

import contextlib
import json
import os
import socket
import threading

READINGS = (
    "remoteAlive",
    "drbdConnected",
    "remoteMDResync",
    "remoteDiskErrHandling",
    "localMDResync",
    "localDiskErrHandling",
    "netNonOkRate",
    "hbLatency",
)


def well(**changes):
    """A status in which all is well, with what a case wants otherwise."""
    reading = {"valid": True, "reason": "", "ageSeconds": 2.0, "attemptAgeSeconds": 2.0}
    return {
        "version": 1,
        "remoteAlive": True,
        "drbdConnected": True,
        "remoteMDResync": False,
        "remoteDiskErrHandling": False,
        "localMDResync": False,
        "localDiskErrHandling": False,
        "netNonOkRate": 0.0,
        "hbLatency": 0.31,
        "errHandlingDisks": [],
        "errHandlingDisksRemote": [],
        "active": True,
        "readings": {name: dict(reading) for name in READINGS},
        "constraints": [],
        "degradedArrays": [],
        "lastRestart": None,
        "pid": 4242,
        "uptimeSeconds": 77.0,
        "softwareVersion": "1.0.0",
        **changes,
    }


class ScriptedStatus:
    """Answers from `status` and `history`; while `silent`, not at all."""

    def __init__(self, path):
        self.path = path
        self.status = well()
        self.history = {"version": 1, "samples": [], "events": []}
        self.silent = False
        self._clients = []
        self._listener = None

    def start(self):
        with contextlib.suppress(FileNotFoundError):
            os.unlink(self.path)
        self._listener = socket.socket(socket.AF_UNIX)
        self._listener.bind(self.path)
        self._listener.listen()
        threading.Thread(target=self._accept, args=(self._listener,), daemon=True).start()

    def stop(self):
        """As when the daemon is killed: the socket's file stays."""
        self._listener.shutdown(socket.SHUT_RDWR)
        self._listener.close()
        for client in self._clients:
            with contextlib.suppress(OSError):
                client.shutdown(socket.SHUT_RDWR)
        self._clients.clear()

    def _accept(self, listener):
        with contextlib.suppress(OSError):
            while True:
                client, _ = listener.accept()
                self._clients.append(client)
                threading.Thread(target=self._serve, args=(client,), daemon=True).start()

    def _serve(self, client):
        with contextlib.suppress(OSError, ValueError), client, client.makefile("rb") as requests:
            for line in requests:
                asked = json.loads(line)["request"]
                if not self.silent:
                    reply = self.history if asked == "history" else self.status
                    client.sendall(json.dumps(reply).encode() + b"\n")
