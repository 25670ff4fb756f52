# SPDX-License-Identifier: Apache-2.0
"""The link's address comes late, its interface gets another name and its own again, and counts from
zero: the daemon says why it cannot measure, goes on without help, and never takes counters that went
back for failures."""

from harness import SHORT_INTERVALS, copy_key, expect, expect_equal, join, joined_nodes

TAKES_SECONDS = 30


def knows_peer(status):
    readings = status["readings"]
    return status["remoteAlive"] and all(
        readings[name]["valid"] for name in ("remoteMDResync", "netNonOkRate", "hbLatency"))


def expect_known(daemons, what):
    for daemon in daemons:
        status = daemon.wait_for(what, lambda now: knows_peer(now)
                                 and now["ageSeconds"]["remoteMDResync"] < 3
                                 and now["ageSeconds"]["netNonOkRate"] < 3)
        expect(0.0 <= status["netNonOkRate"] <= 1.0, f"the rate: {status['netNonOkRate']}")


def expect_lost(daemon, reason):
    status = daemon.wait_for(reason, lambda now: reason in now["readings"]["remoteAlive"]["reason"])
    expect_equal(status["remoteAlive"], False, "the peer")


def address_comes_late(node1, node2):
    node1.run("ip", "addr", "del", "10.77.0.1/24", "dev", "link0")
    daemons = [node.daemon(settings=SHORT_INTERVALS).serves() for node in (node1, node2)]
    expect_lost(daemons[0], "cannot use the local address: Cannot assign requested address")
    node1.run("ip", "addr", "add", "10.77.0.1/24", "dev", "link0")
    expect_known(daemons, "the address is there")
    return daemons


def rename(node, old, new):
    node.run("ip", "link", "set", old, "down")
    node.run("ip", "link", "set", old, "name", new)
    node.run("ip", "link", "set", new, "up")


def interface_is_renamed(node1, daemons):
    rename(node1, "link0", "other0")
    expect_lost(daemons[0], "cannot use interface link0: No such device")
    rename(node1, "other0", "link0")
    expect_known(daemons, "the interface has its name again")


def counters_go_back(node1, node2, daemons):
    node1.run("ping", "-q", "-f", "-c", "2000", node2.address)
    for _ in range(3):
        node1.run("ip", "link", "delete", "link0")
        join(node1, node2)
        expect_known(daemons, "the interface is a new one")
    for daemon in daemons:
        failures = [line for line in daemon.log() if "[Packet Fail]" in line]
        expect_equal(failures, [], "what is logged about the interface")


def case(build):
    with joined_nodes(build) as (node1, node2):
        copy_key(node1, node2)
        daemons = address_comes_late(node1, node2)
        interface_is_renamed(node1, daemons)
        counters_go_back(node1, node2, daemons)
