# SPDX-License-Identifier: Apache-2.0
"""Packets that the device itself counts as failed raise the rate; unknown protocols do not."""

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
    assert second.status()["netNonOkRate"] < 0.05, second.status()["netNonOkRate"]
    assert "Packet Fail" not in second.log(), second.log()
    pair.note(f"rx_dropped grew by {grown} through unknown protocols: no alarm")


def run(pair):
    first, second = pair
    second.run(BRIDGE)
    for node in pair:
        node.configure({"THR_OF_HB_PKT_DROP": 0.05})
    first.start_daemon()
    second.start_daemon(interface="hb0")
    second.until(lambda s: s.get("remoteAlive") is True, "the peer is alive over the bridge", 60)
    ignores_unknown_protocols(first, second, pair)
    second.run("ip link set hb1 mtu 600")
    second.send(
        "for i in $(seq 200); do ping -q -c 20 -i 0.02 -W 1 -s 1200 10.77.0.1 >/dev/null; done")
    took = second.until_log("[Packet Fail] Heartbeat packet loss: ", 60)
    pair.timed("packets fail: fourth fresh sample notified", took, 4 * (1 + 1.5) + 1 + 1)
    second.run("for i in $(seq 30); do grep -q heartbeat-pkt-drop /run/notifications && exit 0;"
               " sleep 1; done; exit 1", timeout=60)
    sent = [line for line in second.notifications() if "heartbeat-pkt-drop" in line]
    pair.note("the tool was called with: " + sent[0])
    assert float(sent[0].split()[2]) >= 0.05, sent
    second.run("ip link set hb1 mtu 1500; pkill -f 'seq 200'; pkill ping", check=False)
    took = second.until_log("koraharemotemond:357 ", 60)
    pair.timed("packets go through: recovery logged", took, 1 + 1.5 + 1 + 1)
