# SPDX-License-Identifier: Apache-2.0
"""The role marker moves during the run, and the pace of the check loops follows."""


def passes(node, seconds):
    """Attempts of the local md check within `seconds`, told by its age growing beyond the pace."""
    oldest = 0.0
    for _ in range(seconds * 2):
        oldest = max(oldest, node.status()["readings"]["localMDResync"]["attemptAgeSeconds"] or 0)
        node.run("sleep 0.4")
    return oldest


def run(pair):
    first, second = pair
    pair.start_daemons(settings={"BASE_INTERVAL_ACTIVE": 8, "BASE_INTERVAL_PASSIVE": 1})
    assert first.status()["active"] is False
    passive = passes(first, 10)
    first.run("touch /tmp/ha_role_active")
    first.run("sleep 4")
    assert first.status()["active"] is True
    active = passes(first, 12)
    pair.note(f"oldest reading: {passive:.1f} s while passive (1 s pace), {active:.1f} s while active (8 s)")
    assert passive < 5 < active, (passive, active)
    first.run("rm /tmp/ha_role_active")
    first.until(lambda s: s["active"] is False, "passive again")
