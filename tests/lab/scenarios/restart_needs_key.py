# SPDX-License-Identifier: Apache-2.0
"""Without a key on both nodes the state is told and believed, but no restart is obeyed."""

from lib import disks

RESTART = "koraharemotemond:416 "
COUNT = "[Disks Error Handling] Remote disk error handling(2): sda"


def outcome(status):
    return (status.get("lastRestart") or {}).get("outcome", "requested")


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

    # The asking node has a key, the sick one has none: neither is the state believed any more.
    second.run("mv /var/lib/ha/kept.key /var/lib/ha/peer.key")
    second.until(lambda s: s["readings"]["remoteDiskErrHandling"]["valid"] is False, "not believed")
    pair.note("a key on one node only: " + second.status()["readings"]["remoteDiskErrHandling"]["reason"])
    second.run("sleep 3; rm /var/lib/ha/restart.asked")
    told = second.log().count("Disks Error Handling")
    second.run("sleep 15")
    assert second.log().count("Disks Error Handling") == told, "nothing is counted"
    assert second.log().count(RESTART) == 1, second.log()
    disks.stop_hanging(first)
    assert first.run("cat /proc/sys/kernel/random/boot_id").strip() == before
