# SPDX-License-Identifier: Apache-2.0
"""The daemon installs no signal handler, blocks no signal, and ignores none."""

from pathlib import Path

from harness import SHORT_INTERVALS, expect_equal, one_node

NOT_WITH_SANITIZERS = "their runtime installs signal handlers of its own"

# The C library keeps the first two real-time signals for itself, out of reach of programs: it
# handles them as soon as there is a thread.
C_LIBRARY_OWN = 1 << (32 - 1) | 1 << (33 - 1)


def signal_sets(thread):
    fields = (line.split(":\t") for line in (thread / "status").open() if line.startswith("Sig"))
    return {name: value for name, value in fields}


def case(build):
    with one_node(build) as node:
        daemon = node.daemon(settings=SHORT_INTERVALS).serves()
        threads = sorted(Path(f"/proc/{daemon.pid}/task").iterdir())
        expect_equal(len(threads), 9, "the number of threads")
        for thread in threads:
            sets = signal_sets(thread)
            for name in ("SigCgt", "SigBlk", "SigIgn"):
                own = int(sets[name], 16) & ~C_LIBRARY_OWN
                expect_equal(own, 0, f"{name} of thread {thread.name}")
