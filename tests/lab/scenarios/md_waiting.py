# SPDX-License-Identifier: Apache-2.0
"""A resync that waits for another array, and one that waits for the first write, count as resync."""

# Two arrays on the same two disks: the second one's resync is delayed.
DELAYED = """
modprobe raid1; echo 200 > /proc/sys/dev/raid/speed_limit_max; echo 200 > /proc/sys/dev/raid/speed_limit_min
for d in vdb vdc; do
    printf 'size=16M\\nsize=16M\\n' | sfdisk -q --no-reread /dev/$d; partx -u /dev/$d || partx -a /dev/$d
done
for n in 1 2; do
    yes | mdadm --create /dev/md$n --metadata=1.2 --level=1 --raid-devices=2 /dev/vdb$n /dev/vdc$n 2>&1
done
"""


def run(pair):
    first, second = pair
    pair.start_daemons(support={"drbd": False})
    first.run(DELAYED)
    first.run("for i in $(seq 50); do grep -q DELAYED /proc/mdstat && exit 0; sleep 0.2; done;"
              "cat /proc/mdstat; exit 1")
    words = first.run("cat /sys/block/md2/md/sync_action /sys/block/md2/md/sync_completed").split()
    pair.note("delayed: sync_action, sync_completed: " + " ".join(words))
    first.until(lambda s: "Array md2 of this node is resynchronising." in s.get("constraints", []),
                "the delayed array counts as resynchronising")
    for node, name in ((first, "localMDResync"), (second, "remoteMDResync")):
        node.until(lambda s, name=name: s.get(name) is True, name)

    first.run("mdadm --stop /dev/md1; mdadm --stop /dev/md2")
    for node, name in ((first, "localMDResync"), (second, "remoteMDResync")):
        node.until(lambda s, name=name: s.get(name) is False, "stopped: not " + name)

    first.run("echo 1 > /sys/module/md_mod/parameters/start_ro;"
              "mdadm --assemble /dev/md1 /dev/vdb1 /dev/vdc1 2>&1")
    assert "PENDING" in first.run("cat /proc/mdstat")
    pair.note("pending: sync_action " + first.run("cat /sys/block/md1/md/sync_action").strip())
    for node, name in ((first, "localMDResync"), (second, "remoteMDResync")):
        node.until(lambda s, name=name: s.get(name) is True, "pending: " + name)
