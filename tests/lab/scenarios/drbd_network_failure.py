# SPDX-License-Identifier: Apache-2.0
"""A connection that hangs on its way down (NetworkFailure) is not connected; a hanging disk is no loss."""

import time

# The resource's disk on a device that can be suspended.
SUSPENDABLE = """
modprobe dm-mod; export DM_DISABLE_UDEV=1
dmsetup create back0 --table "0 $(blockdev --getsz /dev/vdb) linear /dev/vdb 0"
sed -i s,/dev/vdb,/dev/mapper/back0, /etc/drbd.conf
"""
HANG = "DM_DISABLE_UDEV=1 dmsetup suspend --noflush back0"
RESUME = "DM_DISABLE_UDEV=1 dmsetup resume back0"
WRITE = "dd if=/dev/urandom of=/dev/drbd0 bs=4k count=1 oflag=direct 2>/dev/null"


def connected(wanted):
    return lambda status: status.get("drbdConnected") is wanted


def state(node):
    return node.run("sed -n 's/^ 0: cs:\\([^ ]*\\).*/\\1/p' /proc/drbd").strip()


def run(pair):
    first, second = pair
    for node in pair:
        node.run(SUSPENDABLE)
    pair.start_daemons()
    pair.drbd_up("r0")
    for node in pair:
        node.until(connected(True), "connected")
    first.run("drbdadm primary r0")
    second.run(HANG)
    first.send(WRITE)
    first.run("sleep 2")
    second.until(connected(True), "a hanging disk is no lost connection")
    seen = second.awaiting("not s['drbdConnected']")
    first.set_link(False)
    second.run("for i in $(seq 200); do grep -q NetworkFailure /proc/drbd && exit 0; sleep 0.1; done;"
               "cat /proc/drbd; exit 1")
    pair.timed("NetworkFailure, not connected", seen.since(time.monotonic()), 1 + 1 + 1)
    assert state(second) == "NetworkFailure", state(second)
    second.run(RESUME)
    first.set_link(True)
    for node in pair:
        node.until(connected(True), "connected again", 60)
