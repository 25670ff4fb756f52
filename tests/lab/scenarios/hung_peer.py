# SPDX-License-Identifier: Apache-2.0
"""The peer's daemon is stopped, then its whole machine: values turn invalid, nothing stalls."""

import time

from lib.readings import OF_THE_PEER, no_stall

QUICK = True
HUNG = 20  # seconds, long after every bound is over
INVALID = "not s['readings']['remoteMDResync']['valid']"


def valid(status):
    return all(status["readings"][name]["valid"] for name in OF_THE_PEER)


def run(pair):
    first, second = pair
    pair.start_daemons()
    second.until(valid, "the peer tells its state")
    seen = second.awaiting(INVALID)
    event = time.monotonic()
    first.run("kill -STOP $(cat /run/daemon.pid)")
    took = seen.after(event)
    reading = second.status()["readings"]["remoteMDResync"]
    pair.timed(f"daemon stopped, invalid ({reading['reason']})", took, 1 + 1 + 1)
    assert reading["reason"], reading
    oldest = no_stall([second], HUNG)
    status = second.status()
    assert status["remoteAlive"] is True, "its kernel still answers"
    assert status["readings"]["remoteMDResync"]["valid"] is False, "it is still stopped"
    pair.note(f"stopped for {HUNG} s: the oldest attempt of a reading was {oldest:.1f} s old")
    first.run("kill -CONT $(cat /run/daemon.pid)")
    second.until(valid, "valid again")

    seen = second.awaiting("not s['remoteAlive']")
    event = time.monotonic()
    first.freeze()
    took = seen.after(event)
    pair.timed("machine frozen, not alive", took, 1 + 1 + 1)
    oldest = no_stall([second], HUNG, resting=OF_THE_PEER)  # nobody asks a peer that is not alive
    assert second.status()["remoteAlive"] is False, "it is still frozen"
    pair.note(f"frozen for {HUNG} s: the oldest attempt of a reading on this node was {oldest:.1f} s old")
    first.thaw()
    second.until(lambda s: s["remoteAlive"] is True and valid(s)
                 and all(s["readings"][name]["ageSeconds"] < 5 for name in OF_THE_PEER), "back")
