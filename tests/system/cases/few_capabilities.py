# SPDX-License-Identifier: Apache-2.0
"""With no more capabilities than its unit grants the daemon does all that it is there for; without
the one for echoes it says what it lacks. Its unit sets no limit to locked memory, either: few
machines that run tests may raise that limit, so the capability that makes it void stands for it."""

import re
from pathlib import Path

from harness import DAEMON_LOG, IS_ROOT, SHORT_INTERVALS, STATUS_SOCKET, copy_key, eventually, expect
from harness import expect_equal, has_sanitizer, joined_nodes, peer

TAKES_SECONDS = 20

UNIT = Path(__file__).resolve().parents[3] / "packaging" / "debian" / "koraharemotemond.service"
NUMBERS = {"CAP_NET_ADMIN": 12, "CAP_NET_RAW": 13, "CAP_IPC_LOCK": 14, "CAP_SYS_BOOT": 22}
READINGS = ("remoteAlive", "remoteMDResync", "remoteDiskErrHandling", "localMDResync",
            "localDiskErrHandling", "netNonOkRate", "hbLatency")


def unit_says(name):
    return re.search(rf"^{name}=(.*)$", UNIT.read_text(), re.MULTILINE)[1]


def granted():
    expect_equal(unit_says("LimitMEMLOCK"), "infinity", "the unit's limit of locked memory")
    return [*unit_says("CapabilityBoundingSet").split(), "CAP_IPC_LOCK"]


def with_only(capabilities):
    words = ["-all", *(f"+{name.removeprefix('CAP_').lower()}" for name in capabilities)]
    return ["setpriv", "--bounding-set", ",".join(words), "--inh-caps", "-all", "--no-new-privs"]


def process_field(daemon, name):
    status = Path(f"/proc/{daemon.pid}/status").read_text()
    return re.search(rf"^{name}:\s+(\S+)", status, re.MULTILINE)[1]


def does_everything(node1, node2, key, build):
    daemon = node1.daemon(settings=SHORT_INTERVALS, through=with_only(granted())).serves()
    mask = sum(1 << NUMBERS[name] for name in granted())
    expect_equal(int(process_field(daemon, "CapEff"), 16), mask, "the capabilities in effect")
    other = node2.daemon(settings=SHORT_INTERVALS, through=with_only(granted())).serves()
    for each in (daemon, other):
        each.wait_for("everything is measured", lambda now: all(
            now["readings"][name]["valid"] for name in READINGS))
    eventually("the flag is up", lambda: node1.exists("/tmp/ha/ha_remote_busy"))
    eventually("the log is written", lambda: "Create flag" in node1.read(DAEMON_LOG))
    expect_equal(node1.run("stat", "-c", "%a %u", STATUS_SOCKET).split(), ["660", "0"], "the socket")
    if IS_ROOT and not has_sanitizer(build):
        expect(int(process_field(daemon, "VmLck")) > 1000, "its memory is locked")
    answer = peer.ask(node2, node1.address, key, b'{"request":"restart","reason":"a test"}')
    expect(b'"accepted":true' in answer, f"the peer's restart is accepted: {answer}")
    eventually("it is carried out", lambda: node1.read("/run/restarts") == "restart\n")
    daemon.signal(9)
    daemon.ended()


def says_what_it_lacks(node1):
    without = [name for name in granted() if name != "CAP_NET_RAW"]
    daemon = node1.daemon(settings=SHORT_INTERVALS, through=with_only(without)).serves()
    # A new network allows no user's echoes either.
    reading = daemon.wait_for("the peer is not reached", lambda now: now["readings"]["remoteAlive"][
        "reason"] != "")["readings"]["remoteAlive"]
    expect_equal(reading["reason"], "no ICMP socket: Permission denied", "why")
    node1.system_log.await_text("no ICMP socket")


def case(build):
    with joined_nodes(build) as (node1, node2):
        key = copy_key(node1, node2)
        does_everything(node1, node2, key, build)
        says_what_it_lacks(node1)
