# SPDX-License-Identifier: Apache-2.0
"""drbdConnected follows two resources through disconnects, a cut cable and a missing module."""

import time

QUICK = True


def connected(wanted):
    return lambda status: status.get("drbdConnected") is wanted


def run(pair):
    first, second = pair
    pair.start_daemons()
    for node in pair:
        node.until(connected(False), "no DRBD module: not connected")

    seen = [node.awaiting("s['drbdConnected']") for node in pair]
    pair.drbd_up("r0", "r1")
    up = time.monotonic()
    for each in seen:
        pair.timed(f"node{each.node.number}: resources connected", each.since(up), 1 + 1 + 1)

    first.run("drbdadm disconnect r0")
    first.run("sleep 3")
    assert first.status()["drbdConnected"] is True, "one resource of two is still connected"

    seen = first.awaiting("not s['drbdConnected']")
    first.run("drbdadm disconnect r1")
    pair.timed("both resources disconnected", seen.since(time.monotonic()), 1 + 1 + 1)

    first.run("drbdadm connect r0; drbdadm connect r1")
    first.until(connected(True), "connected again")

    seen = second.awaiting("not s['drbdConnected']")
    first.set_link(False)
    second.run("for i in $(seq 300); do grep -q cs:Connected /proc/drbd || exit 0; sleep 0.1; done;"
               "exit 1", timeout=90)  # DRBD waits for its ping-int and ping-timeout
    pair.timed("cable cut, DRBD has missed the peer", seen.since(time.monotonic()), 1 + 1 + 1)
    first.set_link(True)
    second.until(connected(True), "cable back", 60)

    first.run("echo 1 > /proc/sys/net/ipv4/icmp_echo_ignore_all")
    second.until(lambda s: s.get("remoteAlive") is False, "echoes unanswered")
    second.run("sleep 4")
    status = second.status()
    assert status["remoteAlive"] is False and status["drbdConnected"] is True, status
    assert "Delete flag" not in second.log().split("Create flag")[-1], "in reach over DRBD alone"
    second.run("test -e /tmp/ha/ha_remote_busy")
    pair.note("echoes ignored, DRBD connected: the busy flag stays up")
