# SPDX-License-Identifier: Apache-2.0
"""Recording the processes, against ps."""

import os
import subprocess
import tempfile
from pathlib import Path

from frame import Comparison, alternate, pinned, run_json, running
from harness import eventually

CROWDS = ((300, 20, 0.35), (3000, 3, 0.5))
# A /run of its own, in which the log and its buffer are: nothing else of the machine is touched.
OWN_RUN = ["unshare", "--mount", "sh", "-c", 'mount -t tmpfs tmpfs /run && exec "$@"', "sh"]

HOW = """User and system time of one recordPS(), writing its lines to the log included, as the mean
of several in a process that goes on; against user and system time of one process of `ps aux` that
writes to /dev/null. Both see the machine's own processes and kernel threads, filled up to that
number with processes that wait, and are pinned to one core. A record lists 1,024 processes at
most."""


def process_count():
    return sum(1 for name in os.listdir("/proc") if name.isdigit())


def cpu_of(command):
    """User and system time of a process in nanoseconds."""
    with open(os.devnull, "wb") as nowhere:
        process = subprocess.Popen(list(map(str, command)), stdout=nowhere)
        _, status, used = os.wait4(process.pid, 0)
    process.returncode = os.waitstatus_to_exitcode(status)
    return round((used.ru_utime + used.ru_stime) * 1e9)


def ours(machine, times):
    program = [machine.program("record_processes"), "/run/log", times]
    return run_json(OWN_RUN + pinned(machine.core, *program))["cpu"]


def reference(machine):
    """Without what taskset costs before it becomes ps."""
    start = min(cpu_of(pinned(machine.core, "true")) for _ in range(3))
    return cpu_of(pinned(machine.core, "ps", "aux")) - start


def rows(machine):
    for count, times, bound in CROWDS:
        with tempfile.TemporaryDirectory(prefix="koraha-bench.") as place:
            ready = Path(place) / "ready"
            more = max(0, count - process_count())
            with running([machine.program("many_processes"), more, ready]):
                eventually("the processes are there", ready.exists, 120)
                taken = alternate(lambda n=times: ours(machine, n), lambda: reference(machine))
        figures = [[each / 1e6 for each in side] for side in taken]
        name = f"recordPS, {count} processes"
        yield Comparison(name, figures[0], "ms", HOW, "ps aux", figures[1], most=bound)
