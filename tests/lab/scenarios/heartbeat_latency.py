# SPDX-License-Identifier: Apache-2.0
"""A slow link: the fourth fresh sample notifies with its value; recovery; a second episode."""

import time

QUICK = True
THRESHOLD = 400.0  # room for a busy host, which an emulated machine feels
DELAY = 600


def delay(node, milliseconds):
    node.run(f"modprobe sch_netem; tc qdisc replace dev eth0 root netem delay {milliseconds}ms")


def run(pair):
    first, second = pair
    pair.start_daemons(settings={"THR_OF_HB_LATENCY": THRESHOLD})
    second.until(lambda s: 0 < s.get("hbLatency", 0) < THRESHOLD, "a quick heartbeat")
    seen = second.awaiting_log("[Latency Fail] Heartbeat too slow: ")
    delay(first, DELAY)
    took = seen.since(time.monotonic())
    pair.timed("slow: fourth fresh sample notified", took, 4 * (1 + 1.5) + 1 + 1)
    sent = [line for line in second.notifications() if "heartbeat-latency" in line]
    assert len(sent) == 1, sent
    words = sent[0].split()
    assert words[0] == "--notify" and words[1] == "heartbeat-latency", sent
    assert DELAY - 10 < float(words[2]) < 1500, sent
    pair.note("the tool was called with: " + sent[0])

    ping = second.run("ping -q -c 5 -i 0.2 10.77.0.1 | tail -1")
    average = float(ping.split("=")[1].split("/")[1])
    measured = second.status()["hbLatency"]
    assert abs(measured - average) < 200, (measured, average)
    pair.note(f"measured {measured:.1f} ms, ping says {average:.1f} ms")

    seen = second.awaiting_log("koraharemotemond:323 Heartbeat latency returns to normal")
    first.run("tc qdisc del dev eth0 root")
    took = seen.since(time.monotonic())
    pair.timed("quick again: recovery logged", took, 1 + 1.5 + 1 + 1)
    delay(first, DELAY)
    second.until_log("[Latency Fail] Heartbeat too slow: ", 40, count=2)
