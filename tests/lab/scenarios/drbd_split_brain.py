# SPDX-License-Identifier: Apache-2.0
"""After a split brain both sides stand alone, and both daemons say not connected all the while."""

import time

from lib import paces

CONSTRAINT = "DRBD resource drbd0 is not connected to the peer."
STATE = "sed -n 's/^ 0: cs:\\([^ ]*\\).*/\\1/p' /proc/drbd"


def states(pair):
    return [state.strip() for state in pair.both(lambda node: node.run(STATE))]


def stand_alone(pair):
    """The side that is told last of the other's end may be waiting again: then they meet once more."""
    deadline = time.monotonic() + 120
    while states(pair) != ["StandAlone", "StandAlone"]:
        assert time.monotonic() < deadline, states(pair)
        for node, state in zip(pair, states(pair)):
            if state == "StandAlone":
                node.run("drbdadm connect r0", check=False)
        pair.both(lambda node: node.run(f"for i in $(seq 50); do [ \"$({STATE})\" = StandAlone ] && break;"
                                        "sleep 0.2; done"))


def run(pair):
    pair.start_daemons()
    pair.drbd_up("r0")
    for node in pair:
        node.until(lambda s: s.get("drbdConnected") is True, "connected")
    lost = [node.awaiting("not s['drbdConnected']") for node in pair]
    pair.both(lambda node: node.run("drbdadm disconnect r0"))
    cut = time.monotonic()
    for each in lost:
        pair.timed(f"node{each.node.number}: disconnected", each.since(cut), paces.DRBD)

    back = [node.awaiting("s['drbdConnected']") for node in pair]
    for node in pair:
        node.run("drbdadm primary r0 && dd if=/dev/urandom of=/dev/drbd0 bs=4k count=4 oflag=direct"
                 " && drbdadm secondary r0")
    pair.both(lambda node: node.run("drbdadm connect r0", check=False))
    stand_alone(pair)
    for node in pair:
        assert "Split-Brain detected" in node.run("dmesg"), node.run("dmesg | tail -n 50")
        node.run(f"sleep {paces.CONSTRAINT}")
        status = node.status()
        assert status["drbdConnected"] is False and status["readings"]["drbdConnected"]["valid"] is True, status
        assert status["constraints"] == [CONSTRAINT], status
    assert all(each.answer.empty() for each in back), "connected was said between the two"
    pair.note("both StandAlone, not connected on both from then on: " + CONSTRAINT)
