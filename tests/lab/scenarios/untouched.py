# SPDX-License-Identifier: Apache-2.0
"""Ten minutes of a healthy pair whose processors are fully loaded: no alarm of any kind."""

import time

ALONE = True
MINUTES = 10
SPIN = "while [ ! -e /run/stop-spinning ]; do :; done"
CALM = {"remoteAlive": True, "drbdConnected": True, "remoteDiskErrHandling": False,
        "localDiskErrHandling": False, "remoteMDResync": False, "localMDResync": False, "constraints": []}


def run(pair):
    # An emulated machine waits for the host's processors, too: that is a slow peer, and not false.
    emulated = pair.paths["accelerator"] == "tcg"
    pair.drbd_up("r0")
    pair.start_daemons(settings={"THR_OF_HB_LATENCY": 1000.0} if emulated else {})
    for node in pair:
        node.until(lambda s: s.get("drbdConnected") is True
                   and s["readings"]["remoteMDResync"]["valid"] is True, "all is well")
        node.send(SPIN)
    slowest, oldest, looks = 0.0, 0.0, 0
    end = time.monotonic() + MINUTES * 60
    while time.monotonic() < end:
        for node in pair:
            status = node.status()
            slowest = max(slowest, status["hbLatency"])
            oldest = max(oldest, *(each["attemptAgeSeconds"] or 0.0 for each in status["readings"].values()))
            looks += 1
            assert {name: status[name] for name in CALM} == CALM, (node.number, status)
        time.sleep(3)
    for node in pair:
        node.run("touch /run/stop-spinning")
        for word in ("Fail", "Delete flag", "Disks Error Handling"):
            assert word not in node.log(), node.log()
        assert node.notifications() == [""], node.notifications()
    pair.note(f"{MINUTES} minutes, every processor spinning; {looks} looks: slowest heartbeat {slowest:.0f} ms, "
              f"oldest reading {oldest:.1f} s, no line, no notification, no flag lowered, no constraint")
