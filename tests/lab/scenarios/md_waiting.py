# SPDX-License-Identifier: Apache-2.0
"""A resync that waits for another array, and one that waits for the first write, count as resync."""

import time

from lib import paces

# Two arrays on the same two disks: the second one's resync is delayed.
DELAYED = """
modprobe raid1; echo 200 > /proc/sys/dev/raid/speed_limit_max; echo 200 > /proc/sys/dev/raid/speed_limit_min
for d in vdb vdc; do
    printf 'size=16M\\nsize=16M\\n' | sfdisk -q --no-reread /dev/$d; partx -u /dev/$d || partx -a /dev/$d
done
for n in 1 2; do
    yes | mdadm --create /dev/md$n --metadata=1.2 --level=1 --raid-devices=2 /dev/vdb$n /dev/vdc$n 2>&1
done
"""


DELAYED_TOLD = "Array md2 of this node is resynchronising."


def awaiting(pair, wanted):
    first, second = pair
    return [(first.awaiting(f"s['localMDResync'] is {wanted}"), "on this node", paces.LOCAL),
            (second.awaiting(f"s['remoteMDResync'] is {wanted}"), "on the peer", paces.REMOTE)]


def both_say(pair, seen, what):
    happened = time.monotonic()
    for each, where, allowed in seen:
        pair.timed(f"{what} {where}", each.since(happened), allowed)


def run(pair):
    first, second = pair
    pair.start_daemons(support={"drbd": False})
    told = first.awaiting(f"{DELAYED_TOLD!r} in s['constraints']")
    seen = awaiting(pair, True)
    first.run(DELAYED)
    first.run("for i in $(seq 50); do grep -q DELAYED /proc/mdstat && exit 0; sleep 0.2; done;"
              "cat /proc/mdstat; exit 1")
    pair.timed(f"delayed: {DELAYED_TOLD}", told.since(time.monotonic()), paces.CONSTRAINT)
    both_say(pair, seen, "resync while one is delayed")
    words = first.run("cat /sys/block/md2/md/sync_action /sys/block/md2/md/sync_completed").split()
    assert words == ["resync", "delayed"], words
    pair.note("delayed: sync_action, sync_completed: " + " ".join(words))

    seen = awaiting(pair, False)
    first.run("mdadm --stop /dev/md1; mdadm --stop /dev/md2")
    both_say(pair, seen, "stopped: no resync")

    seen = awaiting(pair, True)
    first.run("echo 1 > /sys/module/md_mod/parameters/start_ro;"
              "mdadm --assemble /dev/md1 /dev/vdb1 /dev/vdc1 2>&1")
    both_say(pair, seen, "pending: resync")
    assert "PENDING" in first.run("cat /proc/mdstat")
    pair.note("pending: sync_action " + first.run("cat /sys/block/md1/md/sync_action").strip())
