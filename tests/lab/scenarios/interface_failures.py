# SPDX-License-Identifier: Apache-2.0
"""Packets that the device itself counts as failed raise the rate; unknown protocols do not."""

import time

from lib.readings import violations_before

THRESHOLD = 0.05
LOSS = "koraharemotemond:365 [Packet Fail] Heartbeat packet loss: "
NORMAL = "koraharemotemond:357 "

BRIDGE = """
modprobe veth; modprobe bridge
ip link add hb0 type veth peer name hb1
ip link add br0 type bridge
ip link set eth0 master br0; ip link set hb1 master br0
ip addr flush dev eth0
ip link set br0 up; ip link set hb1 up; ip link set hb0 up
ip addr add 10.77.0.2/24 dev hb0
"""


# Frames of a protocol that nobody asked for, which the receiver's device counts as dropped.
UNKNOWN = """python3 -c "
import socket, time
link = socket.socket(socket.AF_PACKET, socket.SOCK_RAW)
link.bind(('eth0', 0))
for _ in range(600):
    link.send(b'\\xff' * 6 + bytes.fromhex('525400770001') + b'\\x88\\xb5' + bytes(60))
    time.sleep(0.01)
" """
DROPPED = "cat /sys/class/net/hb0/statistics/rx_dropped"


def ignores_unknown_protocols(first, second, pair):
    before = int(second.run(DROPPED))
    first.run(UNKNOWN, timeout=120)
    second.run("sleep 3")
    grown = int(second.run(DROPPED)) - before
    assert grown >= 500, grown
    assert second.status()["netNonOkRate"] < THRESHOLD, second.status()["netNonOkRate"]
    assert "Packet Fail" not in second.log(), second.log()
    pair.note(f"rx_dropped grew by {grown} through unknown protocols: no alarm")


def run(pair):
    first, second = pair
    second.run(BRIDGE)
    for node in pair:
        node.configure({"THR_OF_HB_PKT_DROP": THRESHOLD})
    first.start_daemon()
    second.start_daemon(interface="hb0")
    second.until(lambda s: s.get("remoteAlive") is True, "the peer is alive over the bridge", 60)
    ignores_unknown_protocols(first, second, pair)
    seen = second.awaiting_log(LOSS)
    before = time.monotonic()
    second.run("ip link set hb1 mtu 600")
    second.send("ping -q -i 0.05 -w 300 -s 1200 10.77.0.1")
    event = time.monotonic()
    took = seen.since(event)
    assert took + event - before >= 3, f"too soon for four samples: {took:.1f} s"
    pair.timed("packets fail: fourth fresh sample notified", took, 4 * (1 + 1.5) + 1 + 1)
    sent = second.until_notified("heartbeat-pkt-drop")
    samples = violations_before(second, "netNonOkRate", THRESHOLD, LOSS)
    assert samples >= 4, f"notified at sample {samples} over the threshold"
    assert len(sent) == 1 and float(sent[0].split()[2]) >= THRESHOLD, sent
    pair.note(f"at sample {samples} over the threshold the tool was called with: " + sent[0])
    seen = second.awaiting_log(NORMAL)
    second.run("ip link set hb1 mtu 1500; pkill ping", check=False)
    took = seen.since(time.monotonic())
    pair.timed("packets go through: recovery logged", took, 1 + 1.5 + 1 + 1)
