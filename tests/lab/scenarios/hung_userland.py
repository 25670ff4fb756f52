# SPDX-License-Identifier: Apache-2.0
"""All processes of the sick peer are frozen while its kernel answers: the fence command is run."""

from lib import disks
from lib.readings import no_stall

PACE = 8
FENCE = "/run/fence"
TOOL = "/var/packages/Twinhold/target/sbin/koraha"
SETTINGS = {"THR_OF_RDISK_ERRHANDLE": 1, "BASE_INTERVAL_ACTIVE": PACE, "BASE_INTERVAL_PASSIVE": PACE,
            "THR_OF_HB_LATENCY": 0.001, "TOLERANCE_TIMES_OF_HB_LATENCY": 0}
# The loop that decides waits for the tool, and so for the peer to be frozen, with what it was told last.
WAITING = "#!/bin/sh\ntouch /run/waiting\nuntil [ -e /run/go ]; do sleep 0.1; done"
SUPPORT = {"drbd": False, "restart": "request-then-command",
           "restartCommand": [FENCE, "off", "node1"]}

# Stops every process but the first, this shell and those that wait for its answer.
FREEZE = """
kill -STOP -1
each=$$
while [ "$each" -gt 1 ]; do
    kill -CONT "$each"
    read -r _ _ _ each _ < "/proc/$each/stat"
done
while read -r _ _ state _ < "/proc/$(cat /run/daemon.pid)/stat"; do
    case $state in [Tt]) exit 0 ;; esac
done
exit 1
"""


def fresh_and_sick(status):
    reading = status.get("readings", {}).get("remoteDiskErrHandling", {})
    return status.get("remoteDiskErrHandling") is True and (reading.get("ageSeconds") or PACE) < 2


def run(pair):
    first, second = pair
    second.put(FENCE, f"#!/bin/sh\necho \"$@\" >> {FENCE}.calls", "755")
    second.put(TOOL, WAITING, "755")
    second.run("touch /tmp/ha_role_active")  # so that nothing is done before the peer is frozen
    first.configure({}, SUPPORT)
    second.configure(SETTINGS, SUPPORT)
    first.start_daemon()
    disks.make(first)
    disks.keep_hanging(first)
    first.until(lambda s: s["localDiskErrHandling"] is True, "its disk is under error handling", 60)
    second.start_daemon()
    second.run("until [ -e /run/waiting ]; do sleep 0.2; done")
    second.until(fresh_and_sick, "the peer's disk is under error handling", 50)
    first.run(FREEZE)
    second.run("rm /tmp/ha_role_active; touch /run/go")
    took = second.until_log("koraharemotemond:416 ", 2 * PACE)
    second.until(lambda s: (s.get("lastRestart") or {}).get("outcome") == "accepted", "carried out")
    pair.note(f"decided {took:.1f} s after the freeze, fence command run")
    status = second.status()
    assert status["remoteAlive"] is True, "its kernel answers"
    oldest = no_stall([second], 2 * PACE + 3, pace=PACE)
    pair.note(f"for two more paces the oldest attempt of a reading was {oldest:.1f} s old")
    state = first.run("cut -d ' ' -f 3 /proc/$(cat /run/daemon.pid)/stat").strip()
    assert state in ("T", "t"), "it is frozen to the end, not in state " + state
    calls = second.run(f"cat {FENCE}.calls").strip().split("\n")
    assert calls == ["off node1"], calls
