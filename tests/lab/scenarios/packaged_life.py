# SPDX-License-Identifier: Apache-2.0
"""The packages under systemd: doctor is green; kill, restart, upgrade, stop, reboot lose no line; removal."""

import time

from lib.system import INSTALL, UNIT

SYSTEM = True
SETTINGS = {"BASE_INTERVAL_LOG_WRITE": 300}  # what is not flushed at an end stays in memory
STATE = f"systemctl show --property SubState --value {UNIT}"
CUT = "modprobe sch_netem; tc qdisc replace dev eth0 root netem loss 100%"
MENDED = "tc qdisc del dev eth0 root"
DRBD_FROM_NOW_ON = "ln -s /lib/systemd/system/drbd.service /etc/systemd/system/multi-user.target.wants"
EVENTS = (("kill -9", f"systemctl kill --signal KILL {UNIT}; until [ $({STATE}) = auto-restart ]; do sleep 0.1; done"),
          ("restart", f"systemctl restart {UNIT}"),
          ("packages replaced", INSTALL),
          ("stop", f"systemctl stop {UNIT}"))
METRICS = ("for i in $(seq 100); do bash -c 'exec 3<>/dev/tcp/127.0.0.1/18909 && "
           "printf \"GET /metrics HTTP/1.0\\r\\nHost: 127.0.0.1:18909\\r\\n\\r\\n\" >&3 && cat <&3' "
           "2>/dev/null && exit 0; sleep 0.2; done; exit 1")
WELL = lambda s: s.get("remoteAlive") is True and s.get("drbdConnected") is True  # noqa: E731


def green(node):
    """Everything is, once there was an exchange with the peer."""
    deadline = time.monotonic() + 120
    while True:
        said = node.ctl("doctor")
        if "points: 0 bad, 0 to note" in said:
            return said.strip().split("\n")[-1]
        assert time.monotonic() < deadline, said
        time.sleep(1)


def await_flag(node, test):
    node.run(f"for i in $(seq 150); do [ {test} /tmp/ha/ha_remote_busy ] && exit 0; sleep 0.2; done; exit 1")


def say_something(first, second):
    """Has the daemons write lines, none of which is on disk; all the first one's until now."""
    for change, test in ((CUT, "! -e"), (MENDED, "-e")):
        second.run(change)
        for node in (first, second):
            await_flag(node, test)
    return first.known_lines()


def losses(node):
    return sum("Delete flag" in line for line in node.known_lines())


def run(pair):
    first, second = pair
    pair.drbd_up("r0", "r1")  # both are configured, and their start at boot waits for the peer
    pair.both(lambda node: node.run(DRBD_FROM_NOW_ON))
    began = time.monotonic()
    pair.set_up(SETTINGS)
    points = pair.both(green)
    pair.both(lambda node: await_flag(node, "-e"))
    pair.note(f"installed, set up, started and green in {time.monotonic() - began:.0f} s; doctor: {points[0]}")

    first.run("systemctl start korahamonctl-exporter")
    metrics = first.run(METRICS)
    assert "\nkoraha_peer_alive 1\n" in metrics.replace("\r", ""), metrics
    owner = first.run("stat -c %U /proc/$(systemctl show --property MainPID --value korahamonctl-exporter)")
    pair.note(f"exporter: {metrics.count(chr(10))} lines of metrics, served by {owner.strip()}")

    for event, command in EVENTS:
        lines, pid, lost = say_something(first, second), first.pid(), losses(second)
        waiting = len(lines) - first.lines_on_disk(lines)
        assert waiting >= 2, "lines in memory alone"
        first.run(command)
        first.check_log(lines, event)
        pair.note(f"{event}: {len(lines)} lines, {waiting} of them in memory alone: all on disk, once")
        if event == "stop":
            assert first.run(STATE).strip() == "dead", first.run(STATE)
            first.run(f"systemctl start {UNIT}")
        first.until(WELL, "well again", 180)
        assert first.pid() not in (0, pid), "a new daemon"
        assert losses(second) == lost, "the other side notes no loss"

    lines, before = say_something(first, second), first.boot_id
    waiting = len(lines) - first.lines_on_disk(lines)
    first.send("systemctl reboot")
    assert first.wait_boot(pair.boot_seconds) != before, "the boot id must change"
    first.run("test -e /var/lib/stopped-in-order")
    first.check_log(lines, "reboot")
    pair.note(f"reboot: {len(lines)} lines, {waiting} of them in memory alone: all on disk, once")
    first.status(patience=180)  # started by itself
    first.until(WELL, "well again", 180)

    first.run("dpkg --remove koraharemotemond; ! pgrep --exact koraharemotemon")
    pair.note("removed: the daemon has ended")
