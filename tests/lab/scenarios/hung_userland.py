# SPDX-License-Identifier: Apache-2.0
"""All processes of the sick peer are frozen while its kernel answers: the fence command is run."""

from lib import disks

PACE = 8
FENCE = "/run/fence"
SETTINGS = {"THR_OF_RDISK_ERRHANDLE": 1, "BASE_INTERVAL_ACTIVE": PACE, "BASE_INTERVAL_PASSIVE": PACE}
SUPPORT = {"drbd": False, "restart": "request-then-command",
           "restartCommand": [FENCE, "off", "node1"]}


def fresh_and_sick(status):
    reading = status.get("readings", {}).get("remoteDiskErrHandling", {})
    return status.get("remoteDiskErrHandling") is True and (reading.get("ageSeconds") or PACE) < 3


def run(pair):
    first, second = pair
    second.put(FENCE, f"#!/bin/sh\necho \"$@\" >> {FENCE}.calls", "755")
    second.run("touch /tmp/ha_role_active")  # so that nothing is done before the peer is frozen
    first.configure({}, SUPPORT)
    second.configure(SETTINGS, SUPPORT)
    for node in pair:
        node.start_daemon()
    second.until(lambda s: s.get("remoteAlive") is True, "the peer is alive")
    disks.make(first)
    disks.keep_hanging(first)
    second.until(fresh_and_sick, "the peer's disk is under error handling", 90)
    first.send("kill -STOP -1")  # everything but process 1 and the shell that says it
    second.run("rm /tmp/ha_role_active")
    took = second.until_log("koraharemotemond:416 ", 4 * PACE)
    assert first.run("cut -d ' ' -f 3 /proc/$(cat /run/daemon.pid)/stat").strip() in "Tt", "frozen"
    second.until(lambda s: (s.get("lastRestart") or {}).get("outcome") == "accepted", "carried out")
    calls = second.run(f"cat {FENCE}.calls").strip().split("\n")
    assert calls == ["off node1"], calls
    pair.note(f"decided {took:.1f} s after the freeze (a pace of {PACE} s), fence command run with: {calls[0]}")
    status = second.status()
    assert status["remoteAlive"] is True, "its kernel answers"
    ages = {name: each["attemptAgeSeconds"] for name, each in status["readings"].items()
            if name != "netNonOkRate"}
    late = {name: age for name, age in ages.items() if age is None or age > PACE + 6}
    assert not late, late
    pair.note(f"oldest attempt of a reading: {max(ages.values()):.1f} s")
