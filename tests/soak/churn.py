# SPDX-License-Identifier: Apache-2.0
"""What disturbs a pair: clients of every kind, flaps of the link, kills."""

import contextlib
import os
import random
import signal
import socket
import struct
import subprocess
import threading
import time

from harness import STATUS_SOCKET, join, peer

SECOND_DOOR = "/run/koraha/server.sock"
DOORS = (STATUS_SOCKET, SECOND_DOOR)
ROLE_MARKER = "/tmp/ha_role_active"
REQUESTS = (
    b'{"request":"status"}\n',
    b'{"request":"history"}\n',
    b'{"request":"watch"}\n',
    b'{"request":"nothing"}\n',
    b'{"request":"sta',
    b"[" * 4000 + b"\n",
    b"\0\xff\n" * 300,
    b"x" * 20_000,
    b"",
)


class Churn:
    """Threads that each do one thing again and again until stop()."""

    def __init__(self):
        self._stopping = threading.Event()
        self._threads = []
        self.troubles = []

    def start(self, doing, shortest, longest):
        """Calls `doing` with pauses between these many seconds."""

        def go_on():
            while not self._stopping.wait(random.uniform(shortest, longest)):
                try:
                    doing()
                except OSError:
                    pass  # the daemon was just killed
                except Exception as error:  # the soak has failed
                    self.troubles.append(f"{doing.__name__}: {error!r}")
                    return

        self._threads.append(threading.Thread(target=go_on, daemon=True))
        self._threads[-1].start()

    def stop(self):
        self._stopping.set()
        for thread in self._threads:
            thread.join()


def odd_client(node):
    """One connection that says something, reads or not, and leaves one way or another."""

    def use_door():
        with socket.socket(socket.AF_UNIX) as client:
            client.settimeout(2)
            client.connect(node.path(random.choice(DOORS)))
            client.sendall(random.choice(REQUESTS) * random.choice((1, 1, 30)))
            if random.random() < 0.7:
                client.recv(65536)
            if random.random() < 0.2:
                time.sleep(random.uniform(0, 6))  # longer than half a line may take

    return use_door


def odd_peer(node, address):
    """One connection to the other node's peer service that makes no sense."""

    def use_port():
        messages = (b"", os.urandom(3000), peer.frame(peer.HELLO, os.urandom(48)),
                    peer.frame(peer.HELLO, b"", length=1 << 16))
        with peer.connect(node, address) as connection:
            connection.sendall(random.choice(messages))
            if random.random() < 0.5:
                connection.setsockopt(socket.SOL_SOCKET, socket.SO_LINGER, struct.pack("ii", 1, 0))
            else:
                connection.recv(4096)

    return use_port


def link_flaps(node1, node2):
    def flap():
        node = random.choice((node1, node2))
        if random.random() < 0.2:
            node.run("ip", "link", "delete", "link0")
            time.sleep(random.uniform(0.2, 2))
            join(node1, node2)
            return
        node.run("ip", "link", "set", "link0", "down")
        time.sleep(random.uniform(0.2, 2))
        node.run("ip", "link", "set", "link0", "up")

    return flap


def role_changes(node):
    def change():
        if node.exists(ROLE_MARKER):
            node.remove(ROLE_MARKER)
        else:
            node.write(ROLE_MARKER, "")

    return change


class Soaked:
    """The daemon of a node, with numbered lines; started anew whenever it is killed."""

    def __init__(self, node, settings, preload):
        self.node = node
        self._settings = settings
        self._preload = preload
        self.starts = 0
        self.start()

    def start(self):
        self.starts += 1
        through = ["env", f"LD_PRELOAD={self._preload}", f"KORAHA_RUN={self.starts}",
                   f"KORAHA_NUMBERS=/run/numbers.{self.starts}"]
        self.daemon = self.node.daemon(settings=self._settings, through=through)

    def kill(self):
        with contextlib.suppress(ProcessLookupError):
            self.daemon.signal(signal.SIGKILL)
        status = self.daemon.ended()
        if status != 128 + signal.SIGKILL and status != -signal.SIGKILL:
            raise RuntimeError(f"{self.node.name}'s daemon ended with {status} before it was killed")

    def kill_and_start(self):
        self.kill()
        self.start()

    def end(self):
        """Its last lines go to disk by way of the tool."""
        self.kill()
        done = subprocess.run(
            [*self.node.enter(), "/mnt/build/bin/korahamonctl", "flush"], capture_output=True
        )
        if done.returncode != 0:
            raise RuntimeError(f"korahamonctl flush: {done.stderr.decode(errors='replace')}")

    def numbers(self):
        """How far each thread of each run came."""
        runs = {}
        for run in range(1, self.starts + 1):
            with contextlib.suppress(FileNotFoundError):
                with open(self.node.path(f"/run/numbers.{run}"), "rb") as file:
                    runs[run] = file.read()
        return runs
