# SPDX-License-Identifier: Apache-2.0
"""What forbids a restart: role, marker, DRBD not connected, not UpToDate or not there, an own array."""

import time

from lib import disks, paces

HANDLING = "[Disks Error Handling] Remote disk error handling("
REFUSED = "koraharemotemond:414 Too many errors on one disk, unable to restart remote active server"

# On the watcher: its own array of two members loses one.
DEGRADE = """
modprobe brd rd_nr=2 rd_size=8192; modprobe raid1
yes | mdadm --create /dev/md3 --metadata=1.2 --level=1 --raid-devices=2 --assume-clean --bitmap=none \
    /dev/ram0 /dev/ram1 2>&1
echo faulty > /sys/block/md3/md/dev-ram1/state
"""

# (what comes, what ends it once the next one is there, the constraint): each alone is reason enough.
FORBIDDING = [
    ("touch /var/lib/ha/maintenance", "rm /var/lib/ha/maintenance",
     "This node is under maintenance (/var/lib/ha/maintenance exists)."),
    ("drbdadm disconnect r0", "drbdadm connect r0; drbdadm wait-connect r0",
     "DRBD resource drbd0 is not connected to the peer."),
    (DEGRADE, "mdadm --stop /dev/md3 2>&1", "Array md3 of this node is degraded."),
    ("drbdadm detach r0", "true", "DRBD resource drbd0 is not UpToDate on this node."),
    ("drbdadm down r0", "true", "No DRBD resource is configured."),
    ("rmmod drbd", "true", "DRBD is not loaded."),
]


def forbid(pair, node, come, constraint, end_last):
    """Waits until `constraint` alone has forbidden a restart."""
    seen = node.awaiting(f"{constraint!r} in s['constraints']")
    node.run(come)
    pair.timed("constraint: " + constraint, seen.since(time.monotonic()), paces.CONSTRAINT)
    node.run(end_last)
    node.until(lambda s: s.get("constraints") == [constraint], "only: " + constraint, 60)
    node.run("sleep 2")  # what was decided before is in the log now
    return node.until_log(REFUSED, 120, count=node.log().count(REFUSED) + 1)


def run(pair):
    first, second = pair
    pair.drbd_up("r0")
    pair.start_daemons(settings={"THR_OF_RDISK_ERRHANDLE": 2})
    second.until(lambda s: s.get("drbdConnected") is True and not s.get("constraints"), "no constraint")
    before = first.boot_id
    disks.make(first)

    second.run("touch /tmp/ha_role_active")
    disks.keep_hanging(first)
    second.until_log(HANDLING + "2): sda", 90)
    second.until_log(HANDLING + "1): sda", 90, count=2)
    assert ":414 " not in second.log() and ":416 " not in second.log(), "the active node says nothing"
    pair.note("on the active node: counted up to the threshold, nothing said or done")

    end_last = "rm /tmp/ha_role_active"
    for come, end, constraint in FORBIDDING:
        took = forbid(pair, second, come, constraint, end_last)
        pair.note(f"refused for it alone {took:.0f} s later")
        end_last = end

    disks.stop_hanging(first)
    assert ":416 " not in second.log(), second.log()
    assert first.run("cat /proc/sys/kernel/random/boot_id").strip() == before
