# SPDX-License-Identifier: Apache-2.0
"""A node that cannot restart in order is restarted by force, and the reason is on its disk."""

from lib import disks

RESTART = "koraharemotemond:416 "

# The orderly restart ends the daemon, as it would, and then hangs on the dead disk like everything.
HANGING_REBOOT = f"#!/bin/sh\nkill -KILL $(cat /run/daemon.pid)\nexec {disks.READ}"

HANGING = """for s in /proc/[0-9]*/stat; do
    read -r pid name state rest 2> /dev/null < $s && [ "$state" = D ] && echo "$name"
done; true"""


def run(pair):
    first, second = pair
    pair.start_daemons(settings={"THR_OF_RDISK_ERRHANDLE": 2}, support={"drbd": False})
    second.until(lambda s: not s.get("constraints"), "no constraint")
    disks.make(first, recovery_step=90)
    first.put("/sbin/reboot", HANGING_REBOOT, "755")
    first.comes_back()
    before = first.boot_id
    disks.hang_for_good(first)
    second.until_log(RESTART, 90)
    second.until(lambda s: (s.get("lastRestart") or {}).get("outcome") == "accepted", "accepted", 30)
    first.run("for i in $(seq 100); do [ -e /proc/$(cat /run/daemon.pid) ] || exit 0; sleep 0.2; done;"
              "exit 1", timeout=60)
    pair.note("the daemon is gone; hanging: " + " ".join(first.run(HANGING).split()))
    assert "recovery" in first.run("cat /sys/class/scsi_host/host*/state"), "the disk still hangs"
    after = first.wait_boot(180)
    assert after != before, "the boot id must change"
    second.until(lambda s: (s.get("lastRestart") or {}).get("outcome") == "back", "back", 60)
    record = second.status()["lastRestart"]
    pair.note(f"left {record['leftAt'] - record['at']:.0f} s after the request, "
              f"back after {record['backAt'] - record['at']:.0f} s")
    kept = first.run("cat /var/lib/ha/restart.obeyed /var/log/ha/ha.daemon.log")
    assert "reason=too many errors on one disk; under error handling: sda" in kept, kept
    assert "restarting at the peer's request: too many errors on one disk" in kept, kept
