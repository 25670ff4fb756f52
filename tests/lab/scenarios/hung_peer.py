# SPDX-License-Identifier: Apache-2.0
"""The peer's daemon is stopped, then its whole machine: values turn invalid, nothing stalls."""

QUICK = True


import time

INVALID = "not s['readings']['remoteMDResync']['valid']"


def invalid(status):
    return status.get("readings", {}).get("remoteMDResync", {}).get("valid") is False


def run(pair):
    first, second = pair
    pair.start_daemons()
    second.until(lambda s: s["readings"]["remoteMDResync"]["valid"] is True, "the peer tells its state")
    seen = second.awaiting(INVALID)
    first.run("kill -STOP $(cat /run/daemon.pid)")
    took = seen.since(time.monotonic())
    reading = second.status()["readings"]["remoteMDResync"]
    pair.timed(f"daemon stopped, invalid ({reading['reason']})", took, 1 + 1 + 1)
    assert reading["reason"], reading
    assert second.status()["remoteAlive"] is True, "its kernel still answers"
    for _ in range(5):
        ages = {name: each["attemptAgeSeconds"] for name, each in second.status()["readings"].items()}
        late = {name: age for name, age in ages.items() if age is None or age > 8}
        assert not late, late
    first.run("kill -CONT $(cat /run/daemon.pid)")
    second.until(lambda s: not invalid(s), "valid again")

    seen = second.awaiting("not s['remoteAlive']")
    first.freeze()
    took = seen.since(time.monotonic())
    pair.timed("machine frozen, not alive", took, 1 + 1 + 1)
    first.thaw()
    second.until(lambda s: s.get("remoteAlive") is True, "back")
