# SPDX-License-Identifier: Apache-2.0
"""From the peer's link going down to what is known of it."""

import concurrent.futures
import contextlib
import os
import signal
import subprocess
import time

from frame import Count, Shown, median, related
from frame.link import set_up
from frame.pair import await_peer, pair
from harness import eventually, joined_nodes

PAIRS = 20
OUTAGES = 100
INTERVAL = 5
BOUND = 1
LOOK_SECONDS = 0.05
OTHERS = 3
FLAG = "/tmp/ha/ha_remote_busy"

OURS = f"""{OUTAGES} outages at default intervals ({INTERVAL} s between probes of at most {BOUND} s
each), in {PAIRS} pairs at the same time, at moments spread evenly over the time between two probes:
the peer's end of the link goes down, and the status is asked every {LOOK_SECONDS} s, which is part
of the figures."""
FLAGGED = f"""In the same outages, until the busy flag is gone: two samples in a row, each an
interval and at most the bound of a probe ({INTERVAL + BOUND} s), and one probe bound more."""
OTHERS_HOW = f"""{OTHERS} outages each, the peer's processes stopped, at equal intervals:
keepalived with adverts every {INTERVAL} s, until the backup holds the address; corosync with a token of {INTERVAL} s, until its
map of members says so."""


def remote_alive(daemon):
    status = daemon.status()
    return status is not None and status["remoteAlive"]


def await_phase(daemon, seconds):
    """Until the last probe was so long ago."""
    age = daemon.ask()["readings"]["remoteAlive"]["attemptAgeSeconds"]
    time.sleep((seconds - age) % INTERVAL)


def outage(node, peer, daemon, phase):
    """Seconds until the status says so, and until the flag is gone."""
    eventually("the peer lives", lambda: remote_alive(daemon), 120)
    eventually("the flag is up", lambda: node.exists(FLAG), 120)
    await_phase(daemon, phase)
    began = time.monotonic()
    set_up(peer, False)
    eventually("the peer is lost", lambda: not remote_alive(daemon), 60, LOOK_SECONDS)
    told = time.monotonic() - began
    eventually("the flag is lowered", lambda: not node.exists(FLAG), 60, LOOK_SECONDS)
    lowered = time.monotonic() - began
    set_up(peer, True)
    return told, lowered


def outages_of(machine, number):
    """One pair's share of the outages."""
    with pair(machine) as (node, peer):
        daemons = [each.daemon(settings={}) for each in (node, peer)]
        await_peer(daemons[0])
        phases = [index * INTERVAL / OUTAGES for index in range(number, OUTAGES, PAIRS)]
        return [outage(node, peer, daemons[0], phase) for phase in phases]


@contextlib.contextmanager
def others(machine, start):
    """Two joined nodes with a related daemon each."""
    with joined_nodes(machine.build) as nodes:
        for node in nodes:
            related.offer(machine, node)
        yield nodes, [start(node) for node in nodes]


def freeze(program):
    """Its end of a veth link going down would take the other's carrier, too, which they see."""
    for pid in program.pids():
        os.kill(pid, signal.SIGSTOP)
    return time.monotonic()


def holds_address(node):
    return "10.77.0.100" in node.run("ip", "-4", "addr", "show", "dev", "link0")


def sees_member(node):
    words = ["/usr/sbin/corosync-cmapctl", "-g", "runtime.members.2.status"]
    done = subprocess.run(node.enter() + words, stdout=subprocess.PIPE, stderr=subprocess.DEVNULL)
    return b"joined" in done.stdout


def keepalived_outage(machine, _):
    start = others(machine, lambda node: related.keepalived(node, INTERVAL))
    with start as ((master, backup), programs):
        eventually("there is a master", lambda: holds_address(master), 120)
        eventually("and only one", lambda: not holds_address(backup), 120)
        time.sleep(INTERVAL)
        began = freeze(programs[0])
        eventually("the backup takes over", lambda: holds_address(backup), 120, 0.2)
        return time.monotonic() - began


def corosync_outage(machine, _):
    start = others(machine, lambda node: related.corosync(node, INTERVAL * 1000))
    with start as ((node, _), programs):
        eventually("both are members", lambda: sees_member(node), 120, 0.5)
        began = freeze(programs[1])
        eventually("one has left", lambda: not sees_member(node), 120, 0.25)
        return time.monotonic() - began


def at_once(machine, function, count):
    with concurrent.futures.ThreadPoolExecutor(count) as pool:
        return list(pool.map(lambda number: function(machine, number), range(count)))


def rows(machine):
    related.unpacked(machine)
    figures = [each for pairs in at_once(machine, outages_of, PAIRS) for each in pairs]
    told = [each[0] for each in figures]
    lowered = [each[1] for each in figures]
    # What looking takes is not the daemon's: twice the time between two looks is allowed for it.
    latest = INTERVAL + BOUND + 2 * LOOK_SECONDS
    middle = INTERVAL / 2 + BOUND
    yield Count("link down to status, latest of 100", [max(told)], "s", OURS, most=latest)
    yield Count("link down to status, median of 100", [median(told)], "s", OURS,
                least=middle - 0.2, most=middle + 0.2)
    yield Count("link down to flag lowered, latest of 100", [max(lowered)], "s", FLAGGED,
                most=2 * (INTERVAL + BOUND) + BOUND)
    for name, function in (("keepalived", keepalived_outage), ("corosync", corosync_outage)):
        seconds = at_once(machine, function, OTHERS)
        yield Shown(f"link down to status, {name}", told, "s", OTHERS_HOW, name, seconds)
