# SPDX-License-Identifier: Apache-2.0
"""On a full or read-only log directory the daemon goes on, says so once, and loses nothing: what it
had to say comes in order once there is room again."""

from harness import DAEMON_LOG, SHORT_INTERVALS, eventually, expect, expect_equal, joined_nodes


def fill(node):
    node.run("mount", "-t", "tmpfs", "-o", "size=16k", "tmpfs", "/var/log/ha")
    node.run("sh", "-c", "dd if=/dev/zero of=/var/log/ha/filler bs=1k 2> /dev/null || true")


def forbid(node):
    node.run("mount", "-t", "tmpfs", "-o", "ro", "tmpfs", "/var/log/ha")


def has_something_to_say(daemon, node2):
    """Two changes of the peer, each of which is worth a line."""
    daemon.wait_for("the peer is alive", lambda status: status["remoteAlive"])
    flag = "/tmp/ha/ha_remote_busy"
    eventually("the flag is up", lambda: daemon.node.exists(flag))
    node2.run("ip", "link", "set", "link0", "down")
    eventually("the flag is down", lambda: not daemon.node.exists(flag))
    node2.run("ip", "link", "set", "link0", "up")
    eventually("the flag is up again", lambda: daemon.node.exists(flag))


def goes_on(node1, node2, break_it, reason):
    break_it(node1)
    daemon = node1.daemon(settings=SHORT_INTERVALS).serves()
    has_something_to_say(daemon, node2)
    for log in (DAEMON_LOG, "/var/log/ha/ha.daemon.record"):
        node1.system_log.await_text(f"libkorahadaemon: a log cannot be written: {log}: {reason}")
        expect_equal(node1.system_log.count(f"a log cannot be written: {log}:"), 1, "how often it says so")
    expect_equal(daemon.log(), [], "the daemon log")

    node1.run("umount", "/var/log/ha")
    node1.system_log.await_text(f"libkorahadaemon: a log can be written again: {DAEMON_LOG}")
    flag = "/tmp/ha/ha_remote_busy"
    wanted = [
        "int_daemon_conf:95 Load configure from file: /var/lib/ha/remote_mond.conf",
        f"koraharemotemond:87 Create flag: {flag}",
        f"koraharemotemond:94 Delete flag: {flag}",
        f"koraharemotemond:87 Create flag: {flag}",
    ]
    eventually("nothing is lost", lambda: daemon.log() == wanted)
    stamps = [line.split()[0] for line in node1.read(DAEMON_LOG).splitlines()]
    expect(stamps == sorted(stamps), "in order")
    daemon.signal(15)
    daemon.ended()
    expect_equal(daemon.output(), "", "what it wrote to its standard streams")
    node1.forget_logs()
    node1.system_log.clear()
    node1.remove(flag)


def case(build):
    with joined_nodes(build) as (node1, node2):
        goes_on(node1, node2, fill, "No space left on device")
        goes_on(node1, node2, forbid, "Read-only file system")
