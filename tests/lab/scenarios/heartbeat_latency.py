"""A slow link: the fourth fresh sample notifies with its value; recovery; a second episode."""

QUICK = True


def delay(node, milliseconds):
    node.run(f"modprobe sch_netem; tc qdisc replace dev eth0 root netem delay {milliseconds}ms")


def run(pair):
    first, second = pair
    pair.start_daemons(settings={"THR_OF_HB_LATENCY": 100.0})
    second.until(lambda s: 0 < s.get("hbLatency", 0) < 100, "a quick heartbeat")
    delay(first, 160)
    took = second.until_log("[Latency Fail] Heartbeat too slow: ", 40)
    pair.note(f"notified {took:.1f} s after the delay began (four samples of 1 s and their probes)")
    sent = [line for line in second.notifications() if "heartbeat-latency" in line]
    assert len(sent) == 1, sent
    words = sent[0].split()
    assert words[0] == "--notify" and words[1] == "heartbeat-latency", sent
    assert 150 < float(words[2]) < 1500, sent
    pair.note("the tool was called with: " + sent[0])

    ping = second.run("ping -q -c 5 -i 0.2 10.77.0.1 | tail -1")
    average = float(ping.split("=")[1].split("/")[1])
    measured = second.status()["hbLatency"]
    assert abs(measured - average) < 80, (measured, average)
    pair.note(f"measured {measured:.1f} ms, ping says {average:.1f} ms")

    first.run("tc qdisc del dev eth0 root")
    second.until_log("koraharemotemond:323 Heartbeat latency returns to normal", 40)
    delay(first, 160)
    second.until_log("[Latency Fail] Heartbeat too slow: ", 40, count=2)
