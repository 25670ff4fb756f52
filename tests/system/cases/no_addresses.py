# SPDX-License-Identifier: Apache-2.0
"""Arguments that are no addresses, or name no interface: the daemon runs and answers, the peer is
not alive with a reason, nothing is asked of it, and the system log says why once."""

from harness import SHORT_INTERVALS, expect, expect_equal, nodes

UNSERVED = "libkorahadaemon: the peer is not served: "
UNASKED = "libkorahadaemon: cannot ask whether the peer is alive: "

# The arguments, why the peer cannot be asked, and why it is not served; None: it could be.
VARIANTS = [
    (
        ("not-an-address", "10.77.0.2", "lo"),
        'local address "not-an-address" is no IP address',
        '"not-an-address" and "10.77.0.2" are not two addresses of one family',
    ),
    (
        ("10.77.0.1", "", "lo"),
        'remote address "" is no IP address',
        '"10.77.0.1" and "" are not two addresses of one family',
    ),
    (
        ("fd00::1", "10.77.0.2", "lo"),
        "local and remote address are of different families",
        '"fd00::1" and "10.77.0.2" are not two addresses of one family',
    ),
    (
        ("10.77.0.1", "10.77.0.2", "no/such interface"),
        '"no/such interface" is no interface name',
        '"no/such interface" is no interface name',
    ),
    (
        ("10.77.0.1", "10.77.0.2", "link7"),
        "cannot use interface link7: No such device",
        "there is no interface link7",
    ),
    (
        ("10.77.0.1", "10.77.0.2", "lo"),
        "cannot use the local address: Cannot assign requested address",
        None,
    ),
    (
        ("%n%s\x01\x1b[2J" + "x" * 3000, "10.77.0.2", "lo"),
        'local address "%n%s??[2Jxxxxx',
        '"%n%s??[2Jxxxxx',
    ),
]


def check(daemon, unasked, unserved):
    status = daemon.wait_for("some passes are done", lambda now: now["uptimeSeconds"] > 6)
    reading = status["readings"]["remoteAlive"]
    expect_equal((status["remoteAlive"], reading["valid"]), (False, False), "the peer")
    expect(reading["reason"].startswith(unasked), f"the reason: {reading['reason']}")
    for name in ("hbLatency", "netNonOkRate", "remoteMDResync", "remoteDiskErrHandling"):
        expect_equal(status["readings"][name]["reason"], "not measured yet", name)
    expect_equal(daemon.log()[1:], [], "the daemon log after the configuration's line")

    texts = daemon.node.system_log.texts()
    wanted = [UNASKED + unasked] + ([UNSERVED + unserved] if unserved else [])
    told = [text for text in texts if text.startswith((UNASKED, UNSERVED))]
    expect_equal(len(told), len(wanted), f"the number of lines in the system log, {texts}")
    for text in wanted:
        expect(any(line.startswith(text) for line in told), f"{text} is in {told}")
    expect(not any(ord(c) < 32 for line in told for c in line), "only printable characters")


def case(build):
    names = [f"node{number + 1}" for number in range(len(VARIANTS))]
    with nodes(build, *names) as made:
        for node, (arguments, *_) in zip(made, VARIANTS):
            node.daemon(arguments, settings=SHORT_INTERVALS)
        for node, (_, unasked, unserved) in zip(made, VARIANTS):
            check(node.daemons[0], unasked, unserved)
