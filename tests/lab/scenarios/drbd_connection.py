# SPDX-License-Identifier: Apache-2.0
"""drbdConnected follows two resources through disconnects, a cut cable and a missing module."""

import time

from lib import paces

QUICK = True


def connected(wanted):
    return lambda status: status.get("drbdConnected") is wanted


def missed(node):
    """When DRBD had, which waits for its ping-int and ping-timeout."""
    node.run("for i in $(seq 300); do grep -q cs:Connected /proc/drbd || exit 0; sleep 0.1; done; exit 1",
             timeout=90)
    return time.monotonic()


def both_say(pair, seen, what, happened):
    """Times each node's daemon against when its kernel was seen to have got there."""
    for each, when in zip(seen, happened):
        pair.timed(f"node{each.node.number}: {what}", each.since(when), paces.DRBD)


def run(pair):
    first, second = pair
    pair.start_daemons()
    for node in pair:
        node.until(lambda s: s["readings"]["drbdConnected"]["attemptAgeSeconds"] is not None, "DRBD was looked at")
        assert node.status()["drbdConnected"] is False, "no DRBD module: not connected"
        node.run("test ! -e /proc/drbd")

    seen = [node.awaiting("s['drbdConnected']") for node in pair]
    pair.drbd_up("r0", "r1")
    both_say(pair, seen, "resources connected", [time.monotonic()] * 2)

    seen = [node.awaiting("not s['drbdConnected']") for node in pair]
    first.run("drbdadm disconnect r0")
    first.run(f"sleep {paces.DRBD}")
    for each in seen:
        assert each.answer.empty(), "one resource of two is still connected"
        assert "cs:Connected" in each.node.run("cat /proc/drbd")
    first.run("drbdadm disconnect r1")
    both_say(pair, seen, "both resources disconnected", [time.monotonic()] * 2)

    first.run("drbdadm connect r0; drbdadm connect r1")
    for node in pair:
        node.until(connected(True), "connected again")

    seen = [node.awaiting("not s['drbdConnected']") for node in pair]
    first.set_link(False)
    both_say(pair, seen, "cable cut, DRBD has missed the peer", pair.both(missed))
    first.set_link(True)
    for node in pair:
        node.until(connected(True), "cable back", 60)

    first.run("echo 1 > /proc/sys/net/ipv4/icmp_echo_ignore_all")
    second.until(lambda s: s.get("remoteAlive") is False, "echoes unanswered")
    second.run("sleep 4")
    status = second.status()
    assert status["remoteAlive"] is False and status["drbdConnected"] is True, status
    assert "Delete flag" not in second.log().split("Create flag")[-1], "in reach over DRBD alone"
    second.run("test -e /tmp/ha/ha_remote_busy")
    pair.note("echoes ignored, DRBD connected: the busy flag stays up")
