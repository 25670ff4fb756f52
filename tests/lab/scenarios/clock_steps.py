# SPDX-License-Identifier: Apache-2.0
"""The clock of one node is set back and forward by an hour: no false loss, nothing stuck."""


def run(pair):
    first, second = pair
    pair.start_daemons()
    for node in pair:
        node.until(lambda s: s["readings"]["remoteMDResync"]["valid"] is True, "the pair talks")
    for step in ("-3600", "+7200"):
        first.run(f"date -s @$(( $(date +%s) {step} )) >/dev/null")
        for node in pair:
            before = node.run("date +%s")
            node.run("sleep 4")
            status = node.status()
            assert status["remoteAlive"] is True, (node.number, before, status)
            late = {name: each for name, each in status["readings"].items()
                    if name in ("remoteAlive", "hbLatency", "localMDResync")
                    and (each["attemptAgeSeconds"] is None or each["attemptAgeSeconds"] > 6)}
            assert not late, late
    for node in pair:
        assert "Delete flag" not in node.log(), node.log()
        assert node.status().get("lastRestart") is None
