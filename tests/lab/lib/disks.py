# SPDX-License-Identifier: Apache-2.0
"""SCSI disks whose commands time out, and a volume on one of them."""

# Two hosts: what hangs on sda's leaves sdb's alone. An array over sda makes it a disk of a volume.
MAKE = """
modprobe sd_mod; modprobe scsi_debug add_host=2 num_tgts=1 dev_size_mb=16 ndelay=20000
for i in $(seq 50); do [ -e /dev/sdb ] && break; sleep 0.1; done
for d in sda sdb; do echo 1 > /sys/block/$d/device/timeout; echo %d > /sys/block/$d/device/eh_timeout; done
modprobe brd rd_nr=1 rd_size=15360; modprobe raid1
yes | mdadm --create /dev/md7 --metadata=1.2 --level=1 --raid-devices=2 --assume-clean --bitmap=none \\
    /dev/sda /dev/ram0 2>&1
"""

KNOBS = "/sys/bus/pseudo/drivers/scsi_debug"
HANG = f"echo 1 > {KNOBS}/every_nth; echo 4 > {KNOBS}/opts; "
HEAL = f"echo 0 > {KNOBS}/opts; echo 0 > {KNOBS}/every_nth"
READ = "dd if=/dev/sda of=/dev/null bs=4k count=1 iflag=direct"

# Commands keep timing out: each recovery is healed while it runs, and the read that hung must come
# through before the disk hangs again, or the kernel would give up the disk.
KEEP_HANGING = f"""
while [ ! -e /run/stop-hanging ]; do
    {HANG}
    timeout -s KILL 40 {READ} 2>/dev/null &
    for i in $(seq 200); do grep -q recovery /sys/class/scsi_host/host*/state && break; sleep 0.1; done
    sleep 10
    {HEAL}
    wait $!
done
{HEAL}
"""


def make(node, recovery_step=2):
    """`recovery_step`: seconds that each step of the error handler waits for the disk."""
    node.run(MAKE % recovery_step)


def keep_hanging(node):
    node.send(KEEP_HANGING)


def stop_hanging(node):
    node.run("touch /run/stop-hanging")


def hang_for_good(node):
    """One read that nothing answers; the error handler then works for as long as its steps take."""
    node.run(HANG)
    node.send(READ)
