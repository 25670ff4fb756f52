# SPDX-License-Identifier: Apache-2.0
"""The real daemon, running in a node."""

import json
import os
import resource
import socket
import subprocess
from pathlib import Path

from .checks import eventually, expect, expect_equal

PROGRAM = "/mnt/build/bin/koraharemotemond"
COMM = PROGRAM.rsplit("/", 1)[1][:15]
CONFIGURATION = "/var/lib/ha/remote_mond.conf"
STATUS_SOCKET = "/tmp/.ha_daemon.socket"
DAEMON_LOG = "/var/log/ha/ha.daemon.log"

SHORT_INTERVALS = {
    "BASE_INTERVAL_BUSY_FLAG": 1,
    "BASE_INTERVAL_ACTIVE": 1,
    "BASE_INTERVAL_PASSIVE": 1,
    "BASE_INTERVAL_LOG_WRITE": 1,
    "BASE_INTERVAL_RECORD_ENV": 1,
    "NUM_OF_REST_NETWORK": 0,
    "NUM_OF_REST_MON_HB_LATENCY": 0,
    "NUM_OF_REST_MON_PKT_DROP": 0,
}

# Root of this machine, and not just of a user namespace.
IS_ROOT = Path("/proc/self/uid_map").read_text().split()[:2] == ["0", "0"]


class Daemon:
    """`settings` become the configuration file; None leaves that file as it is. `through` are words
    to put before the program, such as one that takes a capability away."""

    def __init__(self, node, arguments, settings=None, through=()):
        self.node = node
        if settings is not None:
            node.write(CONFIGURATION, json.dumps(settings))
        self._output = Path(node.keep) / f"output{len(node.daemons)}"
        self._ended_as_expected = False
        with self._output.open("wb") as output:
            self.process = subprocess.Popen(
                [*node.enter(), *through, PROGRAM, *arguments],
                stdin=subprocess.DEVNULL,
                stdout=output,
                stderr=output,
                env=environment(),
                preexec_fn=limit,
            )
        self.pid = eventually("the daemon is started", self._find, 20)

    def _find(self):
        """The daemon's number outside of its node; -1 when it has come and gone."""
        if self.process.poll() is not None:
            return -1
        try:
            child = first_child(self.process.pid)
            return child if Path(f"/proc/{child}/comm").read_text() == COMM + "\n" else None
        except OSError:
            return None

    def output(self):
        """What it wrote to standard output and standard error."""
        return self._output.read_text(errors="replace")

    # Its life.

    def runs(self):
        return self.process.poll() is None

    def expect_well(self):
        """Still running, and nothing written: for what ended, see ended()."""
        expect("Sanitizer" not in self.output(), "no sanitizer complains")
        if self._ended_as_expected:
            return
        expect(self.runs(), f"the daemon runs; it ended with {self.process.poll()}")
        expect_equal(self.output(), "", "what the daemon wrote to its standard streams")

    def ended(self, seconds=60):
        """Waits for its end and returns the exit status; minus the signal if one killed it."""
        self._ended_as_expected = True
        eventually("the daemon ends", lambda: not self.runs(), seconds)
        return self.process.returncode

    def signal(self, number):
        os.kill(self.pid, number)

    # What it says.

    def log(self):
        """The messages in the daemon log, without their time stamps."""
        lines = self.node.read(DAEMON_LOG).splitlines()
        return [line.split(" ", 1)[1] if " " in line else line for line in lines]

    def ask(self, request="status", door=STATUS_SOCKET):
        with socket.socket(socket.AF_UNIX) as client:
            client.settimeout(30)
            client.connect(self.node.path(door))
            client.sendall(json.dumps({"request": request}).encode() + b"\n")
            with client.makefile("rb") as replies:
                return json.loads(replies.readline())

    def status(self):
        """The status, or None while nobody serves it."""
        try:
            return self.ask()
        except (OSError, ValueError):
            return None

    def serves(self):
        self.wait_for("the status is served", lambda status: True)
        return self

    def wait_for(self, what, condition, seconds=60):
        """Waits until the condition holds for the status, and returns the status."""

        def holds():
            expect(self.runs(), f"the daemon ended while waiting: {what}")
            status = self.status()
            return status if status and condition(status) else None

        return eventually(what, holds, seconds)

    def resident_kib(self):
        for line in Path(f"/proc/{self.pid}/status").read_text().splitlines():
            if line.startswith("VmRSS:"):
                return int(line.split()[1])
        return 0


def has_sanitizer(build):
    program = (Path(build) / "bin" / "koraharemotemond").read_bytes()
    return b"__asan_init" in program or b"__tsan_init" in program


def first_child(pid):
    children = Path(f"/proc/{pid}/task/{pid}/children").read_text().split()
    return int(children[0]) if children else None


def environment():
    tsan = os.environ.get("TSAN_OPTIONS", "")
    return {
        "PATH": "/usr/sbin:/usr/bin:/sbin:/bin",
        "TSAN_OPTIONS": f"{tsan} suppressions=/mnt/tsan.suppressions",
    }


def limit():
    """Runs in the child: no core files, and memory that either locks or cleanly does not."""
    resource.setrlimit(resource.RLIMIT_CORE, (0, 0))
    if not IS_ROOT:
        resource.setrlimit(resource.RLIMIT_MEMLOCK, (0, 0))
