"""The peer's daemon is stopped, then its whole machine: values turn invalid, nothing stalls."""

QUICK = True


def invalid(status):
    return status.get("readings", {}).get("remoteMDResync", {}).get("valid") is False


def run(pair):
    first, second = pair
    pair.start_daemons()
    second.until(lambda s: s["readings"]["remoteMDResync"]["valid"] is True, "the peer tells its state")
    first.run("kill -STOP $(cat /run/daemon.pid)")
    took = second.until(invalid, "the stopped daemon's values turn invalid", 30)
    reading = second.status()["readings"]["remoteMDResync"]
    pair.note(f"invalid after {took:.1f} s: {reading['reason']}")
    assert reading["reason"], reading
    assert second.status()["remoteAlive"] is True, "its kernel still answers"
    for _ in range(5):
        ages = {name: each["attemptAgeSeconds"] for name, each in second.status()["readings"].items()}
        late = {name: age for name, age in ages.items() if age is None or age > 8}
        assert not late, late
    first.run("kill -CONT $(cat /run/daemon.pid)")
    second.until(lambda s: not invalid(s), "valid again")

    first.freeze()
    took = second.until(lambda s: s.get("remoteAlive") is False, "a frozen machine is not alive")
    pair.note(f"frozen machine missed after {took:.1f} s")
    first.thaw()
    second.until(lambda s: s.get("remoteAlive") is True, "back")
