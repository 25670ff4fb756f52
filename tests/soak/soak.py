# SPDX-License-Identifier: Apache-2.0
"""Two pairs of daemons under churn, one with intervals of 0 and one with intervals of 1 second.

    soak.py BUILD_DIR MINUTES

In each pair node1's daemon lives throughout and is watched for growth and latency; node2's is killed
again and again. At the end every line that a daemon logged must be in its files, once."""

import contextlib
import os
import statistics
import subprocess
import sys
import threading
import time
from pathlib import Path

sys.path.insert(0, str(Path(__file__).resolve().parents[1] / "system"))

from churn import DOORS, Churn, Soaked, link_flaps, odd_client, odd_peer, role_changes  # noqa: E402
from found_lines import FoundLines  # noqa: E402
from harness import SHORT_INTERVALS, copy_key, has_sanitizer, joined_nodes  # noqa: E402

WORST_LATENCY_SECONDS = 5.0
GROWTH_LIMIT = 0.01
SAMPLE_BYTES = 16.5  # in the daemon's memory; it keeps at most 8,192
RUNTIMES = {b"__asan_init": "libasan.so", b"__tsan_init": "libtsan.so"}


def settings(interval):
    return {
        **{name: interval if name.startswith("BASE") else 0 for name in SHORT_INTERVALS},
        "BASE_INTERVAL_LOG_ROTATE": interval,
        "SIZE_MAX_OF_LOG_FILE": 4 << 20 if interval == 0 else 64 << 10,
    }


def preload(build):
    """What stands between the daemon and its log; a sanitizer's runtime must come first."""
    libraries = ["/mnt/build/lib/libnumbered_lines.so"]
    program = (build / "bin" / "koraharemotemond").read_bytes()
    for mark, runtime in RUNTIMES.items():
        if mark in program:
            found = subprocess.run(["g++", f"-print-file-name={runtime}"], capture_output=True)
            libraries.insert(0, os.path.realpath(found.stdout.decode().strip()))
    return " ".join(libraries)


class Pair:
    """One pair with all that happens to it and all that is measured on it."""

    def __init__(self, name, interval, nodes, build):
        self.name = name
        copy_key(*nodes)
        self.nodes = nodes
        for node in nodes:  # six generations of two fast logs; what a full disk does is tested elsewhere
            node.run("mount", "-o", "remount,size=512m", "/var")
        self.daemons = [Soaked(node, settings(interval), preload(build)) for node in nodes]
        self.found = [FoundLines(node) for node in nodes]
        self.memory = []
        self.samples = []
        self.descriptors = []
        self.latencies = {door: [] for door in DOORS}
        self.unanswered = 0
        for soaked in self.daemons:
            soaked.daemon.serves()

    def disturb(self, churn):
        node1, node2 = self.nodes
        for node in self.nodes:
            churn.start(odd_client(node), 0, 0.2)
            churn.start(odd_client(node), 0, 0.5)
            churn.start(role_changes(node), 5, 30)
        churn.start(odd_peer(node1, node2.address), 0.1, 1)
        churn.start(odd_peer(node2, node1.address), 0.1, 1)
        churn.start(link_flaps(node1, node2), 5, 20)
        churn.start(self.daemons[1].kill_and_start, 3, 20)
        for door in DOORS:
            churn.start(lambda door=door: self._ask(door), 0.05, 0.15)
        churn.start(self._look, 0.1, 0.3)

    def _ask(self, door):
        started = time.monotonic()
        try:
            self.daemons[0].daemon.ask(door=door)
        except (OSError, ValueError):
            self.unanswered += 1
        self.latencies[door].append(time.monotonic() - started)

    def _look(self):
        for found in self.found:
            found.look()

    def measure(self):
        daemon = self.daemons[0].daemon
        daemon.expect_well()
        self.memory.append(daemon.resident_kib())
        self.samples.append(len(daemon.ask("history")["samples"]))
        self.descriptors.append(len(os.listdir(f"/proc/{daemon.pid}/fd")))

    def look_when_quiet(self):
        """The fewest descriptors of several looks: its probes open some for a moment."""
        for _ in range(20):
            self.measure()
            time.sleep(0.1)
        self.quiet_descriptors = min(self.descriptors)

    def settle(self):
        """After the churn: all clients gone, both daemons ended, every line on disk."""
        deadline = time.monotonic() + 60
        while time.monotonic() < deadline:
            self.measure()
            if self.descriptors[-1] <= self.quiet_descriptors:
                break
            time.sleep(0.5)
        for soaked in self.daemons:
            soaked.end()
        self._look()

    # Verdicts: each returns what is wrong.

    def judge_growth(self, is_judged):
        fifth = len(self.memory) // 5
        early, late = self.memory[fifth], statistics.median(self.memory[-5:])
        kept = max(0, self.samples[-1] - self.samples[fifth]) * SAMPLE_BYTES / 1024
        growth, other = late / early - 1, (late - kept) / early - 1
        print(f"{self.name}: resident memory {self.memory[0]} KiB at the start, {early} KiB after a "
              f"fifth of the time, {late:.0f} KiB at the end: {growth:+.2%}, and {other:+.2%} without "
              f"the {kept:.0f} KiB of samples that it keeps for an hour; most {max(self.memory)}")
        if is_judged and other > GROWTH_LIMIT:
            yield f"memory grew by {other:.2%}"

    def judge_descriptors(self):
        grown = self.descriptors[-1] - self.quiet_descriptors
        print(f"{self.name}: descriptors {self.quiet_descriptors} when quiet before, "
              f"{self.descriptors[-1]} when quiet after, most {max(self.descriptors)}")
        if grown > 0:
            yield f"{grown} more descriptors"

    def judge_latency(self):
        for door, all_of_it in self.latencies.items():
            ordered = sorted(all_of_it)
            print(f"{self.name}: {len(ordered)} honest requests at {door}: median "
                  f"{ordered[len(ordered) // 2] * 1e3:.2f} ms, 99 % within "
                  f"{ordered[len(ordered) * 99 // 100] * 1e3:.2f} ms, worst {ordered[-1] * 1e3:.1f} ms")
            if ordered[-1] > WORST_LATENCY_SECONDS:
                yield f"an answer took {ordered[-1]:.1f} s"
        if self.unanswered:
            yield f"{self.unanswered} honest requests were not answered"

    def judge_lines(self):
        for soaked, found in zip(self.daemons, self.found):
            logged, missing, twice = found.compare(soaked.numbers())
            print(f"{self.name}, {soaked.node.name}: {soaked.starts} starts, {logged} lines logged, "
                  f"{found.lines} found, {missing} missing, {twice} found too often, "
                  f"{found.out_of_order} out of order")
            if missing or twice or found.out_of_order or logged == 0:
                yield f"lines of {soaked.node.name} are missing, doubled or out of order"
                yield from found.strange[:5]
            for line in found.lost[:3]:
                yield f"{soaked.node.name} says: {line}"


def soak(pairs, seconds):
    churn = Churn()
    for pair in pairs:
        pair.look_when_quiet()
        pair.disturb(churn)
    started = time.monotonic()
    told = 0
    pause = min(5.0, seconds / 30)
    while time.monotonic() < started + seconds and not churn.troubles:
        time.sleep(pause)
        for pair in pairs:
            pair.measure()
        if time.monotonic() > started + 60 * (told + 1):
            told += 1
            for pair in pairs:
                print(f"after {told} min, {pair.name}: {pair.memory[-1]} KiB, "
                      f"{pair.descriptors[-1]} descriptors, {pair.daemons[1].starts} starts, "
                      f"{sum(each.lines for each in pair.found)} lines", flush=True)
    churn.stop()
    for pair in pairs:
        pair.settle()
    return churn.troubles


def main():
    build, minutes = Path(sys.argv[1]).resolve(), float(sys.argv[2])
    threading.stack_size(1 << 18)
    with contextlib.ExitStack() as stack:
        pairs = [
            Pair(f"intervals of {interval} s", interval,
                 stack.enter_context(joined_nodes(build)), build)
            for interval in (0, 1)
        ]
        problems = soak(pairs, 60 * minutes)
        for pair in pairs:
            for judged in (pair.judge_growth(not has_sanitizer(build)), pair.judge_descriptors(),
                           pair.judge_latency(), pair.judge_lines()):
                problems += [f"{pair.name}: {problem}" for problem in judged]
    for problem in problems:
        print(f"FAIL {problem}")
    print(f"verdict: {'failed' if problems else 'passed'} after {minutes:g} min")
    return 1 if problems else 0


if __name__ == "__main__":
    sys.exit(main())
