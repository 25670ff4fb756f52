# SPDX-License-Identifier: Apache-2.0
"""A resynchronising DRBD link still counts as connected; the constraint names it."""

import time

from lib import paces

TARGET = ["DRBD resource drbd0 is not UpToDate on this node.",
          "DRBD resource drbd0 is being synchronised from the peer."]
RATE = "drbdsetup disk-options 0 --c-plan-ahead=0 --resync-rate="


def run(pair):
    first, second = pair
    pair.start_daemons()
    pair.drbd_up("r0")
    second.run("drbdadm disconnect r0")
    first.run(f"drbdadm primary r0; {RATE}400k; dd if=/dev/urandom of=/dev/drbd0 bs=1M count=16 oflag=direct",
              timeout=120)
    for node in pair:
        node.until(lambda s: s.get("drbdConnected") is False, "disconnected")

    seen = [node.awaiting("s['drbdConnected']") for node in pair]
    named = second.awaiting(f"s['constraints'] == {TARGET!r}")
    second.run(f"{RATE}400k; drbdadm connect r0")
    second.run("for i in $(seq 60); do grep -q SyncTarget /proc/drbd && exit 0; sleep 0.2; done;"
               "cat /proc/drbd; exit 1")
    begun = time.monotonic()
    for each in seen:
        pair.timed(f"node{each.node.number}: resynchronising is connected", each.since(begun), paces.DRBD)
    pair.timed("the target's constraints: " + " ".join(TARGET), named.since(begun),
               paces.CONSTRAINT)
    assert "SyncTarget" in second.run("cat /proc/drbd"), "it was over before the daemon was asked"

    over = second.awaiting("not s['constraints']")
    for node in pair:
        node.run(f"{RATE}100M")
    second.run("for i in $(seq 300); do grep -q ds:UpToDate/UpToDate /proc/drbd && exit 0; sleep 0.2; done;"
               "cat /proc/drbd; exit 1", timeout=90)
    pair.timed("up to date, no constraint", over.since(time.monotonic()), paces.CONSTRAINT)
