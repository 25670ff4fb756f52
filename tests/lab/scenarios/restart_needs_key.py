# SPDX-License-Identifier: Apache-2.0
"""No key on either node: the sick disk is believed, no restart obeyed. Keys that differ: not even believed."""

from lib import disks

RESTART = "koraharemotemond:416 "
COUNT = "[Disks Error Handling] Remote disk error handling(2): sda"


def outcome(status):
    return (status.get("lastRestart") or {}).get("outcome", "requested")


def nothing_believed(pair, what):
    """Neither counted nor acted upon, though the minutes since the last attempt forbid nothing."""
    second = pair.nodes[1]
    second.run("sleep 3; rm -f /var/lib/ha/restart.asked")  # the keys are looked at each second
    told = second.log().count("Disks Error Handling")
    second.run("sleep 15")
    reading = second.status()["readings"]["remoteDiskErrHandling"]
    assert reading["valid"] is False, reading
    assert second.log().count("Disks Error Handling") == told, "nothing is counted"
    assert second.log().count(RESTART) == 1, second.log()
    pair.note(f"{what}: {reading['reason']}")


def run(pair):
    first, second = pair
    for node in pair:
        node.run("mv /var/lib/ha/peer.key /var/lib/ha/kept.key")
    pair.start_daemons(settings={"THR_OF_RDISK_ERRHANDLE": 2}, support={"drbd": False})
    second.until(lambda s: s["readings"]["remoteDiskErrHandling"]["valid"] is True,
                 "told and believed without a key")
    before = first.boot_id
    disks.make(first)
    disks.keep_hanging(first)
    second.until_log(COUNT, 90)
    second.until_log(RESTART, 30)
    second.until(lambda s: outcome(s) != "requested", "the attempt is over")
    pair.note("without a key: " + outcome(second.status()))
    assert outcome(second.status()) == "this node has no peer key", second.status()

    second.run("mv /var/lib/ha/kept.key /var/lib/ha/peer.key")
    nothing_believed(pair, "a key on one node only")
    first.run("umask 077; head -c 32 /dev/urandom > /var/lib/ha/peer.key")
    nothing_believed(pair, "another key on each node")
    disks.stop_hanging(first)
    assert first.run("cat /proc/sys/kernel/random/boot_id").strip() == before
