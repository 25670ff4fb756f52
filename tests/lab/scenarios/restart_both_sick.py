# SPDX-License-Identifier: Apache-2.0
"""Disks hang on both nodes at once: at most one of them goes, the other stays."""

import time

from lib import disks

WATCH_SECONDS = 80  # two hangs, a forced restart and a boot


def run(pair):
    pair.start_daemons(settings={"THR_OF_RDISK_ERRHANDLE": 2}, support={"drbd": False})
    for node in pair:
        node.until(lambda s: s["readings"]["remoteDiskErrHandling"]["valid"] is True, "the peer tells")
        disks.make(node)
    for node in pair:
        disks.keep_hanging(node)
    time.sleep(WATCH_SECONDS)  # on the host: a node that restarts forgets what it was told to do

    gone = [node.number for node in pair if not node.boots.empty()]
    asked = {node.number: node.log().count(":416 ") for node in pair}
    refused = {node.number: node.log().count(":414 ") for node in pair}
    pair.note(f"asked for the other's restart: {asked}, refused on the own side: {refused}")
    pair.note(f"restarted: {gone or 'none'}")
    assert sum(asked.values()) + sum(refused.values()) >= 2, "both saw the other's disk"
    assert len(gone) <= 1, gone
