# SPDX-License-Identifier: Apache-2.0
"""What the check loops read of the kernel, and how the cost grows."""

import os
import tempfile

from frame import Comparison, Count, Shown, median, pinned
from frame.programs import run_text

HOW = """Processor time of one pass by Google Benchmark, pinned, in random turns, medians of seven.
The reference lists the same directories, reads the same links, and opens, reads and closes the same
files, and understands none of it; sysfs is a tree on tmpfs, but for the interface."""
PARSED = """As above: /proc/drbd of so many resources. The reference reads the one file; here it
lies on tmpfs, so that the kernel has none of its work of making the text, and what is left to
compare with is small."""
GROWTH = """The cost of one more item between the second and the third size, against the cost of one
more between the first and the second: 1 means that the cost grows linearly. The reference, where there
are files for each item, is the growth of plain reading: the more files there are, the fewer of the
kernel's own records of them are in the processor's caches."""
REPETITIONS = 7

PLAIN = (
    ("interface counters", "interfacePass", "interfacePlainly", Comparison, HOW),
    ("100 disks", "diskPass/100", "disksPlainly/100", Comparison, HOW),
    ("32 arrays", "arrayPass/32", "arraysPlainly/32", Comparison, HOW),
    ("32 DRBD resources", "resourcePass/32", "resourcesPlainly/32", Shown, PARSED),
)
GROWING = (
    ("disk", "diskPass", "disksPlainly", (10, 100, 1000), (4, 100, 1000)),
    ("array", "arrayPass", "arraysPlainly", (8, 32, 128), (1, 32, 128)),
    ("DRBD resource", "resourcePass", None, (8, 32, 128), (1, 32, 128)),
)


def measure(machine):
    """Lists of nanoseconds by the benchmark's name."""
    shared = "/dev/shm" if os.access("/dev/shm", os.W_OK) else None
    with tempfile.TemporaryDirectory(prefix="koraha-bench.", dir=shared) as trees:
        command = [machine.program("kernel_files"), "--benchmark_format=json"]
        command += ["--benchmark_enable_random_interleaving=true", "--benchmark_min_time=0.05"]
        command += [f"--benchmark_repetitions={REPETITIONS}"]
        env = {**os.environ, "KORAHA_BENCH_TREES": trees}
        found = run_text(pinned(machine.core, *command), env=env)
    figures = {}
    for each in found["benchmarks"]:
        if each["run_type"] == "iteration":
            figures.setdefault(each["run_name"], []).append(each["cpu_time"])
    return figures


def growth(figures, name, sizes):
    """The slope of the upper part against that of the lower."""
    cost = [median(figures[f"{name}/{size}"]) for size in sizes]
    lower = (cost[1] - cost[0]) / (sizes[1] - sizes[0])
    return (cost[2] - cost[1]) / (sizes[2] - sizes[1]) / lower


def rows(machine):
    figures = measure(machine)
    for name, ours, plain, kind, how in PLAIN:
        taken = [[each / 1e3 for each in figures[which]] for which in (ours, plain)]
        bound = {"most": 1.1} if kind is Comparison else {}
        yield kind(f"one pass, {name}", taken[0], "µs", how, "plain reading", taken[1], **bound)
    for item, name, plain, sizes, shown in GROWING:
        for size in shown:
            per_item = [each / 1e3 / size for each in figures[f"{name}/{size}"]]
            yield Shown(f"one pass of {size}, per {item}", per_item, "µs", HOW)
        grows = [growth(figures, name, sizes)]
        if plain is None:
            yield Count(f"growth per {item}", grows, "", GROWTH, least=0.8, most=1.2)
        else:
            reference = [growth(figures, plain, sizes)]
            yield Comparison(f"growth per {item}", grows, "", GROWTH, "plain reading", reference,
                             most=1.2)
