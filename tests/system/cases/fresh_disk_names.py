# SPDX-License-Identifier: Apache-2.0
"""A peer that holds the key names other disks at every pass, for ten thousand passes: this node's
memory stays as it is, and it says once that it heard of too many."""

import itertools
import time

from harness import SHORT_INTERVALS, copy_key, eventually, expect, expect_equal, has_sanitizer
from harness import hostile_service, joined_nodes, peer

TAKES_SECONDS = 60
NOT_WITH_SANITIZERS = "their runtime keeps freed memory to itself"

PASSES = 10_000
NAMES = 256
FIRST_PASSES = 500
GROWTH_KIB = 160  # the samples of an hour that the daemon keeps, 128 KiB, may still fill up


def case(build):
    number = itertools.count()

    def answer(connection):
        first = next(number) * NAMES
        disks = [f"disk-{each:060}"[:64] for each in range(first, first + NAMES)]
        peer.reply(connection, peer.state(diskErrHandling=True, disks=disks), key=key)

    with joined_nodes(build) as (node1, node2):
        key = copy_key(node1, node2)
        node1.write("/tmp/ha_role_active", "")  # an active node restarts nobody
        with hostile_service(node2, answer) as service:
            daemon = node1.daemon(settings={**SHORT_INTERVALS, "BASE_INTERVAL_ACTIVE": 0}).serves()
            passes = lambda: len(service.durations)  # noqa: E731
            eventually("the first passes", lambda: passes() >= FIRST_PASSES, 120)
            before, started = daemon.resident_kib(), time.monotonic()
            eventually("all passes", lambda: passes() >= PASSES, 180)
            after = daemon.resident_kib()
            rate = (passes() - FIRST_PASSES) / (time.monotonic() - started)
        print(f"figure: memory {before} KiB after {FIRST_PASSES} passes with {NAMES} fresh names each, "
              f"{after} KiB after {PASSES}, {rate:.0f} passes a second")
        expect(after <= before + GROWTH_KIB, f"memory grew from {before} to {after} KiB")
        expect_equal(node1.system_log.count("named more than 1024 disks"), 1, "how often it says so")
