# SPDX-License-Identifier: Apache-2.0
"""md: resync and recovery are told on both nodes, check is not, a degraded array is a constraint."""

import time

QUICK = True

CREATE = """
modprobe brd rd_nr=2 rd_size=20480; modprobe raid1
echo 800 > /proc/sys/dev/raid/speed_limit_max; echo 800 > /proc/sys/dev/raid/speed_limit_min
yes | mdadm --create /dev/md0 --metadata=1.2 --level=1 --raid-devices=2 /dev/ram0 /dev/ram1 2>&1
"""
FASTER = "echo 200000 > /proc/sys/dev/raid/speed_limit_max"
ACTION = "cat /sys/block/md0/md/sync_action"


def run(pair):
    first, second = pair
    pair.start_daemons(support={"drbd": False})
    here, there = first.awaiting("s['localMDResync']"), second.awaiting("s['remoteMDResync']")
    first.run(CREATE)
    created = time.monotonic()
    took = here.since(created)
    pair.timed("resync on this node", took, 1 + 1.5 + 1)
    took = there.since(created)
    pair.timed("resync on the peer", took, 1 + 1.5 + 1 + 1 + 1)

    first.run(FASTER)
    first.until(lambda s: s.get("localMDResync") is False, "resync is over", 60)
    second.until(lambda s: s.get("remoteMDResync") is False, "the peer's resync is over")

    first.run("echo 800 > /proc/sys/dev/raid/speed_limit_max; echo check > /sys/block/md0/md/sync_action;"
              "sleep 3")
    action = first.run(ACTION).strip()
    assert action == "check", action
    assert first.status()["localMDResync"] is False, "a check is no resync"
    first.run("echo idle > /sys/block/md0/md/sync_action")

    first.run("echo faulty > /sys/block/md0/md/dev-ram1/state; sleep 1;"
              "echo remove > /sys/block/md0/md/dev-ram1/state")
    first.until(lambda s: s.get("constraints"), "a degraded array forbids restarting the peer")
    pair.note("constraint: " + str(first.status()["constraints"][0]))
    first.run("mdadm --zero-superblock /dev/ram1; mdadm --manage /dev/md0 --add /dev/ram1")
    first.until(lambda s: s.get("localMDResync") is True, "recovery onto the new member")
    pair.note("kernel: " + first.run(ACTION).strip())
