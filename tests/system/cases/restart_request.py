# SPDX-License-Identifier: Apache-2.0
"""A disk of the peer stays under error handling: this node asks the peer to restart, and proves
itself by the key; the peer runs the command that restarts it, once. The machine itself goes on."""

import json
from pathlib import Path

from harness import SHORT_INTERVALS, copy_key, eventually, expect, expect_equal, joined_nodes

SETTINGS = {**SHORT_INTERVALS, "THR_OF_RDISK_ERRHANDLE": 3}
SUPPORT_SETTINGS = "/var/lib/ha/hasupport.conf"
BOOT_ID = Path("/proc/sys/kernel/random/boot_id")
TAG = "koraharemotemond"

SIGHTINGS = [
    f"{TAG}:405 [Disks Error Handling] Remote disk error handling({count}): sda"
    for count in (1, 2, 3)
]
RESTART = f"{TAG}:416 Too many errors on one disk, restart remote active server"
REFUSED = (
    f"{TAG}:414 Too many errors on one disk, unable to restart remote active server due to "
    "local constraints"
)
OBEYED = (
    "libkorahadaemon: restarting at the peer's request: too many errors on one disk; under error "
    "handling: sda"
)


def give_blocked_disk(node):
    """A disk of which the kernel says that it is blocked, as it is during error handling."""
    settings = json.loads(node.read(SUPPORT_SETTINGS))
    node.write(SUPPORT_SETTINGS, json.dumps({**settings, "disks": ["sda"]}))
    node.run("mount", "-t", "tmpfs", "tmpfs", "/sys/block")
    node.write("/sys/block/sda/device/state", "blocked\n")


def restarts(node):
    return node.read("/run/restarts").splitlines()


def is_answered(status):
    """The peer runs its restart command before its answer is here."""
    return status["lastRestart"] and status["lastRestart"]["outcome"] != "requested"


def obeys_once(node1, node2):
    asking = node1.daemon(settings=SETTINGS).serves()
    obeying = node2.daemon(settings=SHORT_INTERVALS).serves()
    obeying.wait_for("its disk is under error handling", lambda now: now["errHandlingDisks"])
    eventually("the restart command runs", lambda: restarts(node2))
    status = asking.wait_for("the peer's answer is noted", is_answered)
    expect_equal(status["lastRestart"]["outcome"], "accepted", "the outcome")
    asking.wait_for("the peer's disks", lambda now: now["errHandlingDisksRemote"] == ["sda"])
    eventually("the peer's log says why", lambda: OBEYED in obeying.log())
    node2.system_log.await_text(OBEYED)
    node1.system_log.await_text("libkorahadaemon: restart of the peer: accepted")
    return asking


def asks_no_second_time(asking):
    """Less than 15 minutes later that is a constraint."""
    eventually("the next restart is refused", lambda: REFUSED in asking.log())
    lines = [line for line in asking.log() if line.startswith((f"{TAG}:4"))]
    expect_equal(lines[:8], [*SIGHTINGS, RESTART, *SIGHTINGS, REFUSED], "the daemon log")
    expect_equal(asking.log().count(RESTART), 1, "how often a restart is asked for")


def case(build):
    boot = BOOT_ID.read_text()
    with joined_nodes(build) as (node1, node2):
        copy_key(node1, node2)
        give_blocked_disk(node2)
        asking = obeys_once(node1, node2)
        asks_no_second_time(asking)
        expect_equal(restarts(node2), ["restart"], "what the restart command recorded")
        expect_equal(restarts(node1), [], "restarts of the node that asks")
        expect(not node1.exists("/var/lib/ha/restart.obeyed"), "it obeyed nobody")
    expect_equal(BOOT_ID.read_text(), boot, "the boot id of this machine")
