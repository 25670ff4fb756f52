# SPDX-License-Identifier: Apache-2.0
"""Commands of a volume's disk time out: the peer counts and restarts the node, once; it comes back."""

from lib import disks

COUNT = "[Disks Error Handling] Remote disk error handling({}): sda"
RESTART = "koraharemotemond:416 Too many errors on one disk, restart remote active server"
REFUSED = "koraharemotemond:414 Too many errors on one disk, unable to restart remote active server"


def run(pair):
    first, second = pair
    pair.drbd_up("r0")
    pair.start_daemons(settings={"THR_OF_RDISK_ERRHANDLE": 4})
    second.until(lambda s: s.get("drbdConnected") is True and not s.get("constraints"), "no constraint")
    first.run("touch /tmp/ha_role_active")  # the sick node is the active one
    disks.make(first)
    first.comes_back("modprobe drbd minor_count=4; drbdadm up r0")
    before = first.boot_id
    disks.keep_hanging(first)
    for count in range(1, 5):
        second.until_log(COUNT.format(count), 60)
    second.until_log(RESTART, 30)
    after = first.wait_boot(120)
    assert after != before, "the boot id must change"
    pair.note(f"boot id {before[:8]} became {after[:8]}")
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
