# SPDX-License-Identifier: Apache-2.0
"""A lab that is killed, at any point, leaves no machine behind; a killed guest is missed at once."""

import os
import pathlib
import subprocess
import sys
import time

from lib.machine import LabError
from lib.pair import PREFIX, sweep

BOOT = False
POINTS = ((0, 0.5), (1, 0), (2, 0), (2, 8))  # when it has so many machines, after so many seconds


def children_of(pid):
    """The machines of the lab with this process id, told by their directory."""
    mark = f"{PREFIX}{pid}-".encode()
    found = []
    for entry in pathlib.Path("/proc").glob("[0-9]*"):
        try:
            if mark in (entry / "cmdline").read_bytes():
                found.append(entry.name)
        except OSError:
            pass
    return found


def kill_lab(pair, machines, seconds):
    lab = pathlib.Path(__file__).resolve().parent.parent / "lab.py"
    cache = pair.paths["kernel"].parent
    process = subprocess.Popen([sys.executable, lab, "--cache", cache, "--build", pair.paths["build"],
                                "untouched"], stdout=subprocess.DEVNULL)
    deadline = time.monotonic() + 60
    while len(children_of(process.pid)) < machines:
        assert process.poll() is None and time.monotonic() < deadline
        time.sleep(0.02)
    time.sleep(seconds)
    process.kill()
    process.wait()
    deadline = time.monotonic() + 10
    while children_of(process.pid):
        assert time.monotonic() < deadline, children_of(process.pid)
        time.sleep(0.1)
    sweep()
    left = list(pair.directory.parent.glob(f"{PREFIX}{process.pid}-*"))
    assert not left, left


def run(pair):
    mounts = pathlib.Path("/proc/self/mounts").read_text()
    for machines, seconds in POINTS:
        kill_lab(pair, machines, seconds)
    pair.note(f"killed when it had {', '.join(str(each) for each, _ in POINTS)} machines: none left")

    pair.boot()
    first, second = pair
    answer = first.send("sleep 60")
    os.kill(first.process.pid, 9)
    began = time.monotonic()
    assert answer.get(timeout=20)[0] == 255
    try:
        first.run("true")
        raise AssertionError("a dead machine answered")
    except LabError as problem:
        pair.note(f"killed guest: '{problem}' after {time.monotonic() - began:.1f} s")
    assert second.run("echo alive").strip() == "alive"
    assert pathlib.Path("/proc/self/mounts").read_text() == mounts
