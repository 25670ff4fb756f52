# SPDX-License-Identifier: Apache-2.0
"""The clock of one node is set back and forward by an hour: no false loss, nothing stuck."""

from lib.readings import OF_THE_PEER, no_stall

WATCH = 15  # seconds after each step: far beyond every pace, far below the step
RECORDS = "cat /var/log/ha/ha.daemon.record* 2>/dev/null | wc -l"


def run(pair):
    first, second = pair
    pair.start_daemons(settings={"BASE_INTERVAL_RECORD_ENV": 2})
    for node in pair:
        node.until(lambda s: all(s["readings"][name]["valid"] for name in OF_THE_PEER), "the pair talks")
    for step in ("-3600", "+7200"):
        first.run(f"date -s @$(( $(date +%s) {step} )) >/dev/null")
        before = [int(node.run(RECORDS)) for node in pair]
        oldest = no_stall(pair, WATCH)
        for node, count in zip(pair, before):
            status = node.status()
            invalid = {name: each["reason"] for name, each in status["readings"].items() if not each["valid"]}
            assert status["remoteAlive"] is True and not invalid, (step, node.number, status)
            grown = int(node.run(RECORDS)) - count
            assert grown >= 3, (step, node.number, "records that came to the disk after the step", grown)
        pair.note(f"clock set by {step} s: the oldest attempt of a reading was {oldest:.1f} s old")
    for node in pair:
        assert "Delete flag" not in node.log(), node.log()
        assert node.status().get("lastRestart") is None
