# SPDX-License-Identifier: Apache-2.0
"""Logging a line while another thread writes the log to disk."""

from frame import Comparison, Failed, Shown, alternate, pinned, run_json
from harness import one_node

DIRECTORY = "/mnt/build/bench-logs"
ONE = (1, 200, 100, 2)  # threads, bursts, lines in each, milliseconds between
EIGHT = (8, 30, 100, 5)
STORM = (8, 4, 3000, 500)

SET = """Lines of 80 characters in bursts of 100 with 2 ms between, while another thread flushes
every 5 ms to the same disk; each call is timed alone, and the two clock readings count on both
sides. The reference is a mutex, a string and a stamp whose seconds are formatted once a second."""
BURSTS = """Eight threads log bursts of 3,000 lines each, three times what the queue of the reference
holds: spdlog's asynchronous logger with its default queue of 8,192 lines, one writing thread and
the policy to block, so that neither side may lose a line."""


class Logs:
    def __init__(self, machine, node):
        self.machine = machine
        self.node = node

    def run(self, load, program, *words):
        """Two cores: the threads that log and the one that writes are to meet."""
        cores = f"{self.machine.core},{self.machine.other}"
        self.node.run("rm", "-rf", DIRECTORY)
        self.node.run("mkdir", DIRECTORY)
        program = [f"/mnt/build/bin/bench_{program}", *words, DIRECTORY, *load]
        figures = run_json(self.node.enter() + pinned(cores, *program))
        self.expect_lines(load)
        return figures

    def expect_lines(self, load):
        """A log that is fast because it loses lines would win."""
        written = self.node.run("sh", "-c", f"cat {DIRECTORY}/* | wc -l")
        if int(written) != load[0] * load[1] * load[2]:
            raise Failed(f"{written} lines came to disk")

    def both(self, load, *reference):
        return alternate(
            lambda: self.run(load, "log_lines", "ours"), lambda: self.run(load, *reference)
        )


def rows(machine):
    with one_node(machine.build) as node:
        logs = Logs(machine, node)
        one = logs.both(ONE, "log_lines", "bare")
        eight = logs.both(EIGHT, "log_lines", "bare")
        storm = logs.both(STORM, "spdlog_set")
        node.run("rm", "-rf", DIRECTORY)

    def against(name, both, figure, kind, reference, how, **bound):
        ours, other = ([each[figure] for each in side] for side in both)
        return kind(name, ours, "ns", how, reference, other, **bound)

    bare = "mutex, string, stamp"
    for threads, both in (("1 thread", one), ("8 threads", eight)):
        name = f"set, {threads}"
        yield against(f"{name}, p50", both, "p50", Comparison, bare, SET, most=1.3)
        for figure, word in (("p999", "p99.9"), ("worst", "worst")):
            yield against(f"{name}, {word}", both, figure, Shown, bare, SET)
    spdlog = "spdlog, blocking"
    yield against("set in bursts, p50", storm, "p50", Shown, spdlog, BURSTS)
    yield against("set in bursts, p99", storm, "p99", Comparison, spdlog, BURSTS, most=0.1)
    yield against("set in bursts, worst", storm, "worst", Shown, spdlog, BURSTS)
