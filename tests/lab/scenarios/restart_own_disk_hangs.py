# SPDX-License-Identifier: Apache-2.0
"""The disk with the sick node's own files hangs as well: the forced restart comes all the same."""

from lib import disks

# The node's configuration, stamps and logs on a disk that can be made to hang.
OWN_DISK = """
modprobe dm-mod; export DM_DISABLE_UDEV=1
dmsetup create own --table "0 $(blockdev --getsz /dev/vdb) linear /dev/vdb 0"
mke2fs -q -t ext4 /dev/mapper/own; mkdir -p /own; mount /dev/mapper/own /own
mkdir /own/lib /own/log; cp -a /var/lib/ha/. /own/lib
mount --bind /own/lib /var/lib/ha; mount --bind /own/log /var/log/ha
"""
HANG = "sync; DM_DISABLE_UDEV=1 dmsetup suspend --noflush --nolockfs own"


def run(pair):
    first, second = pair
    first.run(OWN_DISK)
    pair.start_daemons(settings={"THR_OF_RDISK_ERRHANDLE": 2}, support={"drbd": False})
    second.until(lambda s: not s.get("constraints")
                 and s["readings"]["remoteDiskErrHandling"]["valid"] is True, "all is well")
    disks.make(first, recovery_step=90)
    first.run("sleep 2")
    before = first.boot_id
    first.run(HANG)
    disks.hang_for_good(first)
    took = second.until_log("koraharemotemond:416 ", 90)
    pair.note(f"counted to the threshold {took:.0f} s after both disks hung")
    second.until(lambda s: (s.get("lastRestart") or {}).get("outcome", "requested") != "requested",
                 "the request is over")
    pair.note("the request: " + second.status()["lastRestart"]["outcome"])
    after = first.wait_boot(180)
    assert after != before, "the boot id must change"
    second.until(lambda s: s.get("remoteAlive") is True, "its kernel answers again")
