# SPDX-License-Identifier: Apache-2.0
"""Running programs, and what the kernel knows of them."""

import contextlib
import json
import subprocess
from pathlib import Path

from .machine import Failed


def pinned(core, *command):
    return ["taskset", "-c", str(core), *map(str, command)]


def pin(pid, core):
    """Puts every thread of a running process on one core."""
    subprocess.run(["taskset", "-apc", str(core), str(pid)], check=True, stdout=subprocess.DEVNULL)


def run_json(command, **options):
    """What the command prints as its last line, which is JSON."""
    done = subprocess.run(list(map(str, command)), stdout=subprocess.PIPE, check=True, **options)
    return json.loads(done.stdout.decode().strip().splitlines()[-1])


def run_text(command, **options):
    """All that the command prints, which is one JSON text."""
    done = subprocess.run(list(map(str, command)), stdout=subprocess.PIPE, check=True, **options)
    return json.loads(done.stdout)


@contextlib.contextmanager
def running(command, **options):
    """A program that is ended at the end."""
    process = subprocess.Popen(list(map(str, command)), stdin=subprocess.DEVNULL, **options)
    try:
        yield process
    finally:
        process.kill()
        process.wait()


def status_field(pid, name):
    """A number of /proc/PID/status, as of VmLck or Threads."""
    for line in Path(f"/proc/{pid}/status").read_text().splitlines():
        if line.startswith(f"{name}:"):
            return int(line.split()[1])
    raise Failed(f"process {pid} has no {name}")


def cpu_ns(pid):
    """Nanoseconds that the process's threads have run."""
    return sum(int(file.read_text().split()[0]) for file in tasks(pid, "schedstat"))


def wake_ups(pid):
    """How often a thread of the process gave up the processor by itself: it waited, and woke."""
    total = 0
    for file in tasks(pid, "status"):
        for line in file.read_text().splitlines():
            if line.startswith("voluntary_ctxt_switches:"):
                total += int(line.split()[1])
    return total


def tasks(pid, name):
    return Path(f"/proc/{pid}/task").glob(f"*/{name}")
