# SPDX-License-Identifier: Apache-2.0
"""Under the hardened unit work: drbdsetup, the cluster tool, and a fence command that uses the network."""

from lib import disks
from lib.system import UNIT

SYSTEM = True
FENCE = "/usr/local/sbin/fence"
SETTINGS = {"THR_OF_HB_LATENCY": 400.0, "THR_OF_RDISK_ERRHANDLE": 2}
SUPPORT = {"drbd": False, "restart": "command", "restartCommand": [FENCE, "off", "node1"]}

# As a fence agent would: speaks to something on the network, then says what it did.
FENCE_AGENT = """#!/bin/sh
python3 -c "import socket; socket.create_connection(('10.77.0.1', 7001), 5)" || exit 3
echo "$@" >> /run/fence.calls"""

# Runs where the daemon runs, with no more rights.
BESIDE = """[Service]
ExecStartPost=/bin/sh -c 'exec > /run/beside 2>&1; grep CapBnd /proc/self/status; drbdsetup events2 --now all'"""


def run(pair):
    first, second = pair
    pair.drbd_up("r0")
    second.put(FENCE, FENCE_AGENT, "755")
    second.run(f"mkdir -p /etc/systemd/system/{UNIT}.service.d")
    second.put(f"/etc/systemd/system/{UNIT}.service.d/beside.conf", BESIDE)
    pair.set_up(SETTINGS, SUPPORT)
    second.until(lambda s: s.get("remoteAlive") is True, "the peer is alive", 60)

    beside = second.run("cat /run/beside")
    assert "exists resource name:r0 role:Secondary" in beside and "connection:Connected" in beside, beside
    pair.note("drbdsetup tells the state of r0; " + beside.split("\n")[0].replace("\t", " "))

    first.run("modprobe sch_netem; tc qdisc replace dev eth0 root netem delay 600ms")
    second.run("for i in $(seq 150); do [ -s /run/notifications ] && exit 0; sleep 0.2; done; exit 1")
    first.run("tc qdisc del dev eth0 root")
    pair.note("the tool was called with: " + second.notifications()[0])

    first.send("python3 -c 'import socket; socket.create_server((str(), 7001)).accept()'")
    disks.make(first)
    disks.keep_hanging(first)
    second.until(lambda s: (s.get("lastRestart") or {}).get("outcome", "requested") != "requested",
                 "the fence command was run", 120)
    calls = second.run("cat /run/fence.calls", check=False).strip().split("\n")
    disks.stop_hanging(first)
    assert second.status()["lastRestart"]["outcome"] == "accepted", second.status()["lastRestart"]
    assert calls == ["off node1"], calls
    pair.note("the fence command was called with: " + calls[0])
    journal = second.run(f"journalctl -u {UNIT} --no-pager")
    assert "ermission denied" not in journal and "not permitted" not in journal, journal
