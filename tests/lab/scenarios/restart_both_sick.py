# SPDX-License-Identifier: Apache-2.0
"""Disks hang on both nodes at once: at most one of them goes, the other stays."""

import time

from lib import disks

ACTIVE = "/tmp/ha_role_active"  # an active node restarts nobody
ASKED, REFUSED = "koraharemotemond:416 ", "koraharemotemond:414 "
LONG = 240  # seconds: each hang lasts about 15, then the own disk is well for a moment
SETTLE = 15
BOOT = 90  # a restart by force, and the boot


def both_sick(status):
    return status["localDiskErrHandling"] is True and status["remoteDiskErrHandling"] is True


def outcome(status):
    return (status.get("lastRestart") or {}).get("outcome", "requested")


def first_of(awaited, seconds):
    """The node where one of these comes first."""
    end = time.monotonic() + seconds
    while True:
        for each in awaited:
            if not each.answer.empty():
                return each.node
        assert time.monotonic() < end, f"not within {seconds} s: {awaited[0].what}"
        time.sleep(0.1)


def run(pair):
    # At a threshold of 1 each pass asks or refuses.
    pair.start_daemons(settings={"THR_OF_RDISK_ERRHANDLE": 1}, support={"drbd": False})
    for node in pair:
        node.until(lambda s: s["readings"]["remoteDiskErrHandling"]["valid"] is True, "the peer tells")
        node.run(f"touch {ACTIVE}")
        node.comes_back()
        disks.make(node)
    for node in pair:
        disks.keep_hanging(node)
    pair.both(lambda node: node.until(both_sick, "each sees its own disk and the other's hang", 150))
    asking = [node.awaiting_log(ASKED) for node in pair]
    pair.both(lambda node: node.run(f"rm {ACTIVE}"))

    # Who asks is left to the disks: the node whose own one is well for a moment. It is well from then
    # on, so that the other one has no reason to ask when it is back.
    asker = first_of(asking, LONG)
    asker.run(f"touch /run/stop-hanging; {disks.HEAL}")
    other = pair.nodes[2 - asker.number]
    asker.until(lambda s: outcome(s) != "requested", "the request is over")
    told = outcome(asker.status())
    if told in ("accepted", "left", "back"):
        other.wait_boot(150)
        asker.until(lambda s: outcome(s) == "back", "back", 150)
        other.until(lambda s: s.get("remoteAlive") is True, "the restarted node's daemon is back", 90)
        went = [other.number]
        time.sleep(SETTLE)
    else:  # the requests crossed, or the answer came too late
        went = []
        time.sleep(BOOT)
    went += [node.number for node in pair if not node.boots.empty()]

    asked, refused = [[node.log().count(line) for node in pair] for line in (ASKED, REFUSED)]
    pair.note(f"refused for the own disk's sake: {refused}")
    pair.note(f"asked: {asked}, outcome: {told}; restarted: {went}; whether requests cross is left to chance")
    assert len(went) <= 1, went
    for node, mine, not_done in zip(pair, asked, refused):
        assert mine + not_done > 0 or node.number in went, f"node{node.number} decided nothing"
    assert asked[asker.number - 1] == 1, "asked once"
