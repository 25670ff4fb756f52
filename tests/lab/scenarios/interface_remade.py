# SPDX-License-Identifier: Apache-2.0
"""The replication interface is removed, made anew, renamed: probes and peer service come back."""

import time

from lib.readings import OF_THE_PEER

OLD = 3  # seconds: no reading that is taken at its pace is older
GOOD = (f"s['remoteAlive'] and all(s['readings'][name]['valid'] and s['readings'][name]['ageSeconds'] < {OLD}"
        f" for name in {OF_THE_PEER})")


def is_gone(status):
    """The peer is not alive, for so long that whatever was read from it before is old."""
    return status["remoteAlive"] is False and all(
        status["readings"][name]["ageSeconds"] > OLD for name in OF_THE_PEER)


def back_after(pair, what, command):
    """Both nodes see a living peer whose service answers, some time after `command` was run."""
    awaited = [node.awaiting(GOOD) for node in pair]
    pair.nodes[1].run(command)
    event = time.monotonic()
    for seen in awaited:
        # the echo, then the heartbeat, which takes longer than the exchange, each with its pace
        pair.timed(f"node{seen.node.number}: {what}, all back", seen.since(event), 1 + 1 + 1 + 1.5 + 1)


def run(pair):
    first, second = pair
    second.run("modprobe veth; modprobe bridge; ip link add br0 type bridge; ip addr flush dev eth0;"
               "ip link set eth0 master br0; ip link set br0 up")
    make = ("ip link add hb0 type veth peer name hb1; ip link set hb1 master br0;"
            "ip link set hb1 up; ip link set hb0 up; ip addr add 10.77.0.2/24 dev hb0")
    second.run(make)
    for node in pair:
        node.configure()
    first.start_daemon()
    second.start_daemon(interface="hb0")
    for seen in [node.awaiting(GOOD) for node in pair]:
        seen.since(time.monotonic())
    second.run("ip link del hb0")
    for node in pair:
        node.until(is_gone, "the interface is gone")
    back_after(pair, "made anew", make)
    second.run("ip link set hb0 down; ip link set hb0 name hb9; ip link set hb9 up")
    second.until(is_gone, "no interface of that name any more")
    first.until(lambda s: s["readings"]["remoteMDResync"]["valid"] is False,
                "its kernel answers under any name, its peer service does not")
    back_after(pair, "renamed there and back", "ip link set hb9 down; ip link set hb9 name hb0; ip link set hb0 up")
