# SPDX-License-Identifier: Apache-2.0
"""A lab that is killed, at any point, leaves no machine behind; a killed guest is missed at once."""

import os
import pathlib
import signal
import subprocess
import sys
import time

from lib import host
from lib.host import LabError
from lib.jobs import PREFIX, sweep

ALONE = True
BOOT = False
LAB = pathlib.Path(__file__).resolve().parent.parent
TWO_SCENARIOS = ("--jobs", "2", "drbd_connection", "md_resync")
# What ends the lab, when it has so many machines, after so many seconds.
POINTS = (("KILL", 0, 0.5), ("TERM", 1, 0), ("KILL", 2, 0), ("HUP", 3, 0), ("INT", 4, 0), ("KILL", 4, 8))

PREPARING = "import sys; sys.path.insert(0, sys.argv[1]); from lib import host; host.run('sh', '-c', sys.argv[2])"
REMOVING = "import sys; sys.path.insert(0, sys.argv[1]); from lib import host; host.remove(sys.argv[2])"


def command_lines(mark):
    """Those of all processes that have `mark` in theirs."""
    found = []
    for entry in pathlib.Path("/proc").glob("[0-9]*"):
        try:
            found.append((entry / "cmdline").read_bytes())
        except OSError:
            pass
    return [line for line in found if mark.encode() in line]


def machines_of(mark):
    return sum(line.startswith(b"qemu-") for line in command_lines(mark))


def await_none(mark):
    deadline = time.monotonic() + 10
    while left := command_lines(mark):
        assert time.monotonic() < deadline, left
        time.sleep(0.1)


def end_lab(pair, name, machines, seconds):
    process = host.start([sys.executable, LAB / "lab.py", "--cache", pair.paths["kernel"].parent,
                          "--build", pair.paths["build"], *TWO_SCENARIOS], stdout=subprocess.DEVNULL,
                         stderr=subprocess.DEVNULL)
    mark = f"{PREFIX}{process.pid}-"
    deadline = time.monotonic() + 60
    while machines_of(mark) < machines:
        assert process.poll() is None and time.monotonic() < deadline
        time.sleep(0.02)
    time.sleep(seconds)
    process.send_signal(getattr(signal, f"SIG{name}"))
    process.wait(30)
    await_none(mark)
    if name == "KILL":  # it had no chance to remove its directory; a later lab does
        sweep()
    left = list(pair.paths["scratch"].parent.glob(mark + "*"))
    assert not left, (name, left)


def kill_preparation(pair):
    """A preparation that has processes and a mount when the lab is killed, or was when an older one was."""
    tree = pair.directory / "tree"
    (tree / "proc").mkdir(parents=True)
    mounting = f"mount -t tmpfs lab {tree}/proc"
    process = host.start([sys.executable, "-c", PREPARING, LAB,
                          f"{mounting}; sh -c 'sleep 98; : {tree}' & sleep 99; : {tree}"])
    time.sleep(2)
    assert len(command_lines(str(tree))) >= 4 and process.poll() is None, command_lines(str(tree))
    process.kill()
    process.wait()
    await_none(str(tree))

    if os.getuid() == 0:
        said = host.run("sh", "-c", f"{mounting}; : > {tree}/proc/kept; "
                        f"'{sys.executable}' -c \"{REMOVING}\" {LAB} {tree} 2>&1; ls {tree}/proc")
        assert "not removed, since these are mounted there" in said and said.endswith("\nkept\n"), said
    host.remove(tree)
    assert not tree.exists()


def run(pair):
    mounts = pathlib.Path("/proc/self/mounts").read_text()
    for point in POINTS:
        end_lab(pair, *point)
    pair.note("ended when it had so many machines: "
              + ", ".join(f"{name} {machines}" for name, machines, _ in POINTS) + ": none left")
    kill_preparation(pair)
    pair.note("killed while it prepared: no process left, and no mount is entered by a later removal")

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
