# SPDX-License-Identifier: Apache-2.0
"""Commands of a volume's disk time out: the peer counts and restarts the node, once; it resynchronises."""

import time

from lib import disks, paces

COUNT = "[Disks Error Handling] Remote disk error handling({}): sda"
RESTART = "koraharemotemond:416 Too many errors on one disk, restart remote active server"
REFUSED = "koraharemotemond:414 Too many errors on one disk, unable to restart remote active server"


# Slowly enough to be seen. A step of drbdadm gives up after 5 s, which a busy machine may need.
ON_BOOT = ("sed -i 's/resync-rate .*;/resync-rate 800k;/' /etc/drbd.conf; modprobe drbd minor_count=4; "
           "drbdadm up r0 || drbdadm adjust r0")
# On the other node as soon as this one is away, and not together with it if it comes back meanwhile.
WRITE_ALONE = """
while grep -q ' 0: cs:Connected' /proc/drbd; do sleep 0.1; done
drbdadm disconnect r0; drbdadm primary r0
dd if=/dev/urandom of=/dev/drbd0 bs=1M count=6 oflag=direct 2>&1 || exit 1
drbdadm connect r0
"""
WRITTEN = "dd if=/dev/vdb bs=1M count=6 iflag=direct 2>/dev/null | md5sum"
DRBD_SAYS = "for i in $(seq 450); do grep {} /proc/drbd && exit 0; sleep 0.2; done; cat /proc/drbd; exit 1"


def watch_recovery(pair, first, second):
    """Times what both daemons say of the first recovery."""
    here, there = first.awaiting("s['localDiskErrHandling']"), second.awaiting("s['remoteDiskErrHandling']")
    disks.keep_hanging(first)
    first.run("until grep -q recovery /sys/class/scsi_host/host*/state; do sleep 0.05; done")
    begun = time.monotonic()
    pair.timed("recovery, on this node", here.since(begun), paces.LOCAL)
    pair.timed("recovery, on the peer", there.since(begun), paces.REMOTE)


def check_resync(pair, first, second, written):
    """What was written while the first node was away comes to it."""
    status, output, _ = written.get(timeout=90)
    assert status == 0, output
    pair.note("back: " + first.run(DRBD_SAYS.format("cs:SyncTarget"), timeout=100).strip())
    state = first.run(DRBD_SAYS.format("cs:Connected.*ds:UpToDate/UpToDate"), timeout=100).strip()
    for node in pair:
        node.run("grep -q oos:0 /proc/drbd")
    assert first.run(WRITTEN) == second.run(WRITTEN), "the same data on both disks"
    pair.note(f"resynchronised: {state}, oos:0, the same data on both")


def run(pair):
    first, second = pair
    pair.drbd_up("r0")
    pair.start_daemons(settings={"THR_OF_RDISK_ERRHANDLE": 4})
    second.until(lambda s: s.get("drbdConnected") is True and not s.get("constraints"), "no constraint")
    first.run("touch /tmp/ha_role_active")  # the sick node is the active one
    disks.make(first)
    first.comes_back(ON_BOOT)
    before = first.boot_id
    written = second.send(WRITE_ALONE)
    watch_recovery(pair, first, second)
    for count in range(1, 5):
        second.until_log(COUNT.format(count), 60)
    second.until_log(RESTART, 30)
    after = first.wait_boot(120)
    assert after != before, "the boot id must change"
    pair.note(f"boot id {before[:8]} became {after[:8]}")
    check_resync(pair, first, second, written)
    for node in pair:
        node.until(lambda s: s.get("remoteAlive") is True and s.get("drbdConnected") is True,
                   "the restarted node is back and connected", 90)
    record = second.until(lambda s: (s.get("lastRestart") or {}).get("outcome") == "back", "noted as back")
    record = second.status()["lastRestart"]
    pair.note(f"asked, {record['leftAt'] - record['at']:.0f} s later it had left, "
              f"{record['backAt'] - record['at']:.0f} s later it was back; reason: {record['reason']}")
    reason = first.run("cat /var/lib/ha/restart.obeyed /var/log/ha/ha.daemon.log")
    assert "reason=too many errors on one disk; under error handling: sda" in reason, reason
    assert "restarting at the peer's request: too many errors on one disk" in reason, reason

    # The disk is no better after the restart: no loop.
    disks.make(first)
    disks.keep_hanging(first)
    second.until_log(REFUSED, 120)
    constraints = second.status()["constraints"]
    assert "This node asked for a restart of the peer less than 15 minutes ago." in constraints, constraints
    pair.note("the disk hangs again: " + constraints[-1])
    second.until_log(COUNT.format(2), 60, count=3)
    disks.stop_hanging(first)
    assert second.log().count(":416 ") == 1, "restarted once"
    assert first.run("cat /proc/sys/kernel/random/boot_id").strip() == after
