"""Commands of a volume's disk time out: the peer counts, restarts the node once, and it comes back."""

QUICK = False

from lib import disks  # noqa: E402


def run(pair):
    first, second = pair
    pair.drbd_up("r0")
    pair.start_daemons(settings={"THR_OF_RDISK_ERRHANDLE": 4})
    second.until(lambda s: s.get("drbdConnected") is True and not s.get("constraints"), "no constraint")
    first.run("touch /tmp/ha_role_active")  # the sick node is the active one
    first.run(disks.LOAD + disks.VOLUME)
    first.put("/var/lib/ha/on-boot", "#!/bin/sh\nmodprobe drbd minor_count=4; drbdadm up r0\n"
              "mkdir -p /tmp/ha; ulimit -l unlimited\nexec " + first.daemon_line("10.77.0.2"), "755")
    before = first.boot_id
    first.send(disks.KEEP_HANGING)
    second.until_log("[Disks Error Handling] Remote disk error handling(1): sda", 60)
    second.until_log("koraharemotemond:416 Too many errors on one disk, restart remote active server", 60)
    after = first.wait_boot(120)
    assert after != before, "the boot id must change"
    pair.note(f"boot id {before[:8]} became {after[:8]}")
    second.until(lambda s: s.get("remoteAlive") is True and s.get("drbdConnected") is True,
                 "the restarted node is back and connected", 60)
    record = second.status()["lastRestart"]
    pair.note("last restart: " + str(record))
    reason = first.run("cat /var/log/ha/ha.daemon.log* /var/lib/ha/restart* 2>/dev/null | grep -i restart",
                       check=False)
    assert reason, "the reason must be on the restarted node's disk"
    second.run("sleep 5")
    assert second.log().count(":416 ") == 1, "restarted once"
