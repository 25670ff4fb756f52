"""Recording the processes, against ps."""

import os
import subprocess

from frame import Comparison, alternate, pinned, run_json, running, wait_until
from harness import one_node

READY = "/run/ready.processes"
CROWDS = ((300, 20, 0.35), (3000, 3, 0.5))

HOW = """User and system time of one recordPS(), its lines written to the log included, as the mean
of several in a process that goes on; against user and system time of one process of `ps aux` that
writes to /dev/null. Both in the same PID namespace with so many processes that wait, pinned to one
core. A record lists 1,024 processes at most."""


def ps_cpu_ns(machine, node):
    with open(os.devnull, "wb") as nowhere:
        process = subprocess.Popen(
            node.enter("mount", "pid") + pinned(machine.core, "ps", "aux"), stdout=nowhere
        )
        _, _, used = os.wait4(process.pid, 0)
    process.returncode = 0
    return round((used.ru_utime + used.ru_stime) * 1e9)


def own_start_ns(machine, node):
    """What entering the node costs by itself; ps is not to pay for it."""
    process = subprocess.Popen(node.enter("mount", "pid") + pinned(machine.core, "true"))
    _, _, used = os.wait4(process.pid, 0)
    process.returncode = 0
    return round((used.ru_utime + used.ru_stime) * 1e9)


def ours(machine, node, times):
    program = ["/mnt/build/bin/bench_record_processes", "/var/log/ha", times]
    return run_json(node.enter() + pinned(machine.core, *program))["cpu"]


def rows(machine):
    for count, times, bound in CROWDS:
        with one_node(machine.build) as node:
            crowd = ["/mnt/build/bin/bench_many_processes", str(count), READY]
            with running(node.enter() + crowd):
                wait_until("the processes are there", lambda it=node: it.exists(READY), 120)
                start = min(own_start_ns(machine, node) for _ in range(5))
                taken = alternate(
                    lambda it=node, n=times: ours(machine, it, n),
                    lambda it=node, less=start: ps_cpu_ns(machine, it) - less,
                )
        figures = [[each / 1e6 for each in side] for side in taken]
        name = f"recordPS, {count} processes"
        yield Comparison(name, figures[0], "ms", HOW, "ps aux", figures[1], most=bound)
