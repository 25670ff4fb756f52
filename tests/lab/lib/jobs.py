# SPDX-License-Identifier: Apache-2.0
"""Scenarios side by side, each in a process of its own, which dies with the lab and its machines with it."""

import os
import pathlib
import shutil
import subprocess
import tempfile
import time

from lib import host

PREFIX = "koraha-lab-"  # of the temporary directories; the process id follows
MOST = 4  # of their own accord: each pair takes a gigabyte of memory


def default_jobs():
    return min(len(os.sched_getaffinity(0)), MOST)


def sweep():
    """Removes the directories of labs that were killed; their machines died with them."""
    for left in pathlib.Path(tempfile.gettempdir()).glob(PREFIX + "*-*"):
        owner = left.name[len(PREFIX):].split("-")[0]
        if owner.isdigit() and not pathlib.Path("/proc", owner).exists():
            shutil.rmtree(left, ignore_errors=True)


def new_scratch():
    """The directory for all that this lab needs while it runs."""
    return pathlib.Path(tempfile.mkdtemp(prefix=f"{PREFIX}{os.getpid()}-"))


class Jobs:
    """`command(name)` runs one scenario; its exit status says whether it passed, its output is one piece."""

    def __init__(self, command, scratch, most):
        self.command = command
        self.scratch = scratch
        self.most = most
        self.running = {}
        self.passed = 0

    def run(self, names, alone):
        """Runs scenarios, those of `alone` with no other beside them and so at the end."""
        if self.most > 1:
            names = sorted(names, key=lambda name: name in alone)
        for name in names:
            room = 0 if name in alone else self.most - 1
            while len(self.running) > room:
                self._await_one()
            self._start(name)
        while self.running:
            self._await_one()

    def kept(self, name):
        """Runs the last scenario with this terminal as its own."""
        self.running[name] = host.start(self.command(name))
        self.passed += self.running[name].wait() == 0

    def end(self):
        for process in self.running.values():
            process.kill()
            process.wait()

    def _start(self, name):
        with open(self.scratch / f"{name}.out", "w") as output:
            self.running[name] = host.start(self.command(name), stdin=subprocess.DEVNULL, stdout=output,
                                            stderr=subprocess.STDOUT)

    def _await_one(self):
        while not (over := [name for name, each in self.running.items() if each.poll() is not None]):
            time.sleep(0.1)
        for name in over:
            status = self.running.pop(name).returncode
            said = (self.scratch / f"{name}.out").read_text(errors="replace")
            if status not in (0, 1):
                said += f"FAIL {name}: its process ended with {status}\n"
            print(said, end="", flush=True)
            self.passed += status == 0
