# SPDX-License-Identifier: Apache-2.0
"""Medium errors, SMART queries and a disk that failed for good are no error handling."""

from lib import disks

READ_BAD_SECTOR = "dd if=/dev/sda of=/dev/null bs=512 skip=4660 count=1 iflag=direct 2>/dev/null"
ERRORS = "echo $(( $(cat /sys/block/sda/device/ioerr_cnt) ))"
CYCLES = 20


def each_second(what, times):
    return f"for i in $(seq {times}); do {what}; sleep 1; done"


def during(first, second, what):
    """Runs `what`, for some passes of the daemon; it must say no on both nodes all the while."""
    before = int(first.run(ERRORS))
    over = first.send(what)
    while over.empty():
        assert first.status()["localDiskErrHandling"] is False, what
        assert second.status()["remoteDiskErrHandling"] is False, what
    return int(first.run(ERRORS)) - before


def run(pair):
    first, second = pair
    pair.start_daemons(settings={"THR_OF_RDISK_ERRHANDLE": 2}, support={"drbd": False})
    second.until(lambda s: s["readings"]["remoteDiskErrHandling"]["valid"] is True, "the peer tells")
    before = first.boot_id
    disks.make(first)

    grown = during(first, second, f"/lab/guest/ask-disk /dev/sda {CYCLES}")
    assert grown >= CYCLES, grown
    pair.note(f"{CYCLES} s of SMART queries: ioerr_cnt grew by {grown}, no error handling")

    first.run(f"echo 2 > {disks.KNOBS}/opts")
    grown = during(first, second, each_second(READ_BAD_SECTOR, CYCLES))
    assert grown >= CYCLES, grown
    pair.note(f"{CYCLES} s of medium errors: ioerr_cnt grew by {grown}, no error handling")
    first.run(f"echo 0 > {disks.KNOBS}/opts")

    first.run("echo offline > /sys/block/sda/device/state")
    during(first, second, each_second(f"{disks.READ} 2>/dev/null", 8))
    first.run("echo running > /sys/block/sda/device/state;"
              "echo faulty > /sys/block/md7/md/dev-sda/state")
    assert "faulty" in first.run("cat /sys/block/md7/md/dev-sda/state")
    during(first, second, each_second(f"{disks.READ} 2>/dev/null", 8))
    pair.note("offline and faulty: no error handling")

    assert "Disks Error Handling" not in second.log(), second.log()
    assert second.status().get("lastRestart") is None
    assert first.run("cat /proc/sys/kernel/random/boot_id").strip() == before
