# SPDX-License-Identifier: Apache-2.0
"""A resynchronising DRBD link still counts as connected; the constraint names it."""


def run(pair):
    first, second = pair
    pair.start_daemons()
    pair.drbd_up("r0")
    second.run("drbdadm disconnect r0")
    first.run("drbdadm primary r0; drbdsetup disk-options 0 --resync-rate=400k --c-plan-ahead=0;"
              "dd if=/dev/urandom of=/dev/drbd0 bs=1M count=16 oflag=direct", timeout=120)
    second.run("drbdsetup disk-options 0 --resync-rate=400k --c-plan-ahead=0; drbdadm connect r0")
    second.run("for i in $(seq 60); do grep -q SyncTarget /proc/drbd && exit 0; sleep 0.2; done;"
               "cat /proc/drbd; exit 1")
    for node in pair:
        node.until(lambda s: s.get("drbdConnected") is True, "resynchronising is connected")
    second.until(lambda s: s.get("constraints"), "the target of a resync must not restart its peer")
    pair.note("constraint on the target: " + str(second.status()["constraints"][0]))
    first.run("drbdsetup disk-options 0 --resync-rate=100M --c-plan-ahead=0")
    second.run("drbdsetup disk-options 0 --resync-rate=100M --c-plan-ahead=0")
    second.until(lambda s: not s.get("constraints"), "no constraint once it is up to date", 90)
