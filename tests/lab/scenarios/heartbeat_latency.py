# SPDX-License-Identifier: Apache-2.0
"""A slow link: the fourth fresh sample notifies with its value; recovery; a second episode."""

import time

from lib.readings import violations_before

QUICK = True
THRESHOLD = 400.0  # room for a busy host, which an emulated machine feels
DELAY = 600
SLOW = "koraharemotemond:331 [Latency Fail] Heartbeat too slow: "


def delay(node, milliseconds):
    node.run(f"tc qdisc replace dev eth0 root netem delay {milliseconds}ms")


def run(pair):
    first, second = pair
    pair.start_daemons(settings={"THR_OF_HB_LATENCY": THRESHOLD})
    second.until(lambda s: 0 < s.get("hbLatency", 0) < THRESHOLD, "a quick heartbeat")
    first.run("modprobe sch_netem")
    seen = second.awaiting_log(SLOW)
    event = time.monotonic()
    delay(first, DELAY)
    took = seen.after(event)
    # Of four samples three have the whole delay and a pause before them.
    assert took >= 3 * (1 + DELAY / 1000), f"too soon for four samples: {took:.1f} s"
    pair.timed("slow: fourth fresh sample notified", took, 4 * (1 + 1.5) + 1 + 1)
    sent = second.until_notified("heartbeat-latency")
    samples = violations_before(second, "hbLatency", THRESHOLD, SLOW)
    assert samples >= 4, f"notified at sample {samples} over the threshold"
    assert len(sent) == 1, sent
    words = sent[0].split()
    assert words[0] == "--notify" and words[1] == "heartbeat-latency", sent
    assert DELAY - 10 < float(words[2]) < 1500, sent
    pair.note(f"at sample {samples} over the threshold the tool was called with: " + sent[0])

    ping = second.run("ping -q -c 5 -i 0.2 10.77.0.1 | tail -1")
    average = float(ping.split("=")[1].split("/")[1])
    measured = second.status()["hbLatency"]
    assert abs(measured - average) < 200, (measured, average)
    pair.note(f"measured {measured:.1f} ms, ping says {average:.1f} ms")

    seen = second.awaiting_log("koraharemotemond:323 Heartbeat latency returns to normal")
    event = time.monotonic()
    first.run("tc qdisc del dev eth0 root")
    took = seen.after(event)
    pair.timed("quick again: recovery logged", took, 1 + 1.5 + 1 + 1)
    delay(first, DELAY)
    second.until_log(SLOW, 40, count=2)
    sent = second.until_notified("heartbeat-latency", 2)
    assert len(sent) == 2, ("one notification for each episode", sent)
