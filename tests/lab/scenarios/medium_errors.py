"""Medium errors and a disk that failed for good restart nobody."""

from lib import disks  # noqa: E402


def run(pair):
    first, second = pair
    pair.drbd_up("r0")
    pair.start_daemons(settings={"THR_OF_RDISK_ERRHANDLE": 2})
    first.run(disks.LOAD + disks.VOLUME)
    first.run(f"echo 2 > {disks.KNOBS}/opts")
    first.run("for i in $(seq 20); do dd if=/dev/sda of=/dev/null bs=512 skip=4660 count=1 iflag=direct"
              " 2>/dev/null; sleep 0.5; done; cat /sys/block/sda/device/ioerr_cnt", timeout=90)
    pair.note("ioerr_cnt: " + first.run("cat /sys/block/sda/device/ioerr_cnt").strip())
    first.run("echo offline > /sys/block/sda/device/state; sleep 6")
    assert first.status()["localDiskErrHandling"] is False
    assert "Disks Error Handling" not in second.log(), second.log()
    assert second.status().get("lastRestart") is None
