# SPDX-License-Identifier: Apache-2.0
"""md: resync and recovery are told on both nodes, check is not, a degraded array is a constraint."""

import time

from lib import paces

QUICK = True

CREATE = """
modprobe brd rd_nr=2 rd_size=20480; modprobe raid1
echo 800 > /proc/sys/dev/raid/speed_limit_max; echo 800 > /proc/sys/dev/raid/speed_limit_min
yes | mdadm --create /dev/md0 --metadata=1.2 --level=1 --raid-devices=2 /dev/ram0 /dev/ram1 2>&1
"""
FASTER = "echo 200000 > /proc/sys/dev/raid/speed_limit_max"
DEGRADED = "Array md0 of this node is degraded."
ACTION = "cat /sys/block/md0/md/sync_action"


def awaiting(pair):
    first, second = pair
    return [(first.awaiting("s['localMDResync']"), "on this node", paces.LOCAL),
            (second.awaiting("s['remoteMDResync']"), "on the peer", paces.REMOTE)]


def both_say(pair, seen, what, happened):
    for each, where, allowed in seen:
        pair.timed(f"{what} {where}", each.since(happened), allowed)


def run(pair):
    first, second = pair
    pair.start_daemons(support={"drbd": False})
    seen = awaiting(pair)
    first.run(CREATE)
    both_say(pair, seen, "resync", time.monotonic())

    first.run(FASTER)
    first.until(lambda s: s.get("localMDResync") is False, "resync is over", 60)
    second.until(lambda s: s.get("remoteMDResync") is False, "the peer's resync is over")

    seen = awaiting(pair)
    first.run("echo 800 > /proc/sys/dev/raid/speed_limit_max; echo check > /sys/block/md0/md/sync_action;"
              f"sleep {paces.REMOTE + 1}")
    action = first.run(ACTION).strip()
    assert action == "check", action
    assert all(each.answer.empty() for each, *_ in seen), "a check is no resync, on neither node"
    pair.note(f"{paces.REMOTE + 1:.1f} s of a check: no resync on either node")
    first.run("echo idle > /sys/block/md0/md/sync_action")

    named = first.awaiting(f"s['constraints'] == [{DEGRADED!r}]")
    first.run("echo faulty > /sys/block/md0/md/dev-ram1/state")
    pair.timed(DEGRADED, named.since(time.monotonic()), paces.CONSTRAINT)
    first.run("sleep 1; echo remove > /sys/block/md0/md/dev-ram1/state")
    assert all(each.answer.empty() for each, *_ in seen), "a degraded array is no resync"
    first.run("mdadm --zero-superblock /dev/ram1; mdadm --manage /dev/md0 --add /dev/ram1")
    added = time.monotonic()
    both_say(pair, seen, "recovery", added)
    action = first.run(ACTION).strip()
    assert action == "recover", action
