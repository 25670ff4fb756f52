# SPDX-License-Identifier: Apache-2.0
"""Every descriptor that the daemon opens is closed in the programs that it runs."""

import os
import time

from harness import SHORT_INTERVALS, copy_key, expect, joined_nodes

CLOSE_ON_EXEC = 0o2000000
LOOKS = 300


def inherited(daemon):
    """Descriptors other than the standard ones that a program would inherit, with what they are."""
    found = {}
    for number in os.listdir(f"/proc/{daemon.pid}/fd"):
        try:
            with open(f"/proc/{daemon.pid}/fdinfo/{number}", encoding="ascii") as info:
                flags = int(info.read().split("flags:")[1].split()[0], 8)
            if int(number) > 2 and not flags & CLOSE_ON_EXEC:
                found[number] = os.readlink(f"/proc/{daemon.pid}/fd/{number}")
        except OSError:
            pass  # closed since
    return found


def case(build):
    with joined_nodes(build) as (node1, node2):
        copy_key(node1, node2)
        settings = {**SHORT_INTERVALS, "BASE_INTERVAL_ACTIVE": 0}
        node1.write("/tmp/ha_role_active", "")
        daemons = [node.daemon(settings=settings).serves() for node in (node1, node2)]
        for daemon in daemons:
            daemon.wait_for("the peer is known", lambda now: now["readings"]["remoteMDResync"]["valid"])
        seen = set()
        for _ in range(LOOKS):  # many are open for a moment only
            for daemon in daemons:
                expect(not inherited(daemon), f"these are inherited: {inherited(daemon)}")
                seen.add(len(os.listdir(f"/proc/{daemon.pid}/fd")))
            time.sleep(0.005)
        expect(len(seen) > 1, f"descriptors come and go: {seen}")
