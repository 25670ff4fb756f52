# SPDX-License-Identifier: Apache-2.0
"""A lossy, unsteady link that is not slow alarms nobody, and the latency agrees with ping."""

SAMPLES = 20


def run(pair):
    first, second = pair
    pair.start_daemons(settings={"THR_OF_HB_LATENCY": 100.0})
    first.run("modprobe sch_netem; tc qdisc replace dev eth0 root netem delay 30ms 15ms loss 10%")
    second.until(lambda s: s["hbLatency"] >= 15, "the delay is measured")
    seen = []
    for _ in range(SAMPLES):
        seen.append(second.status()["hbLatency"])
        second.run("sleep 1")
    seen.sort()
    middle = seen[SAMPLES // 2]
    ping = second.run("ping -q -c 20 -i 0.1 10.77.0.1 | tail -1", check=False)
    average = float(ping.split("=")[1].split("/")[1])
    pair.note(f"{SAMPLES} samples from {seen[0]:.0f} to {seen[-1]:.0f} ms, median {middle:.0f} ms;"
              f" ping says {average:.0f} ms")
    assert abs(middle - average) < 25, (seen, average)
    assert "heartbeat-latency" not in " ".join(second.notifications())
    assert "Latency Fail" not in second.log(), second.log()
