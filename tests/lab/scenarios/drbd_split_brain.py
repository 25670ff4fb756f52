# SPDX-License-Identifier: Apache-2.0
"""After a split brain both sides stand alone, and the daemon says not connected."""


def run(pair):
    first, second = pair
    pair.start_daemons()
    pair.drbd_up("r0")
    for node in pair:
        node.until(lambda s: s.get("drbdConnected") is True, "connected")
    for node in pair:
        node.run("drbdadm disconnect r0")
    for node in pair:
        node.run("drbdadm primary r0 && dd if=/dev/urandom of=/dev/drbd0 bs=4k count=4 oflag=direct"
                 " && drbdadm secondary r0")
    for node in pair:
        node.run("drbdadm connect r0", check=False)
    for node in pair:
        node.run("for i in $(seq 60); do grep -q StandAlone /proc/drbd && exit 0; sleep 0.5; done;"
                 "cat /proc/drbd; exit 1", timeout=60, check=node is first)
    first.until(lambda s: s.get("drbdConnected") is False, "split brain: not connected")
    pair.note("kernel: " + first.run("sed -n 3p /proc/drbd").strip())
