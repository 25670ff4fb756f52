# SPDX-License-Identifier: Apache-2.0
"""Each of the eight routines uses less than half of its 80 KiB stack, after all the kinds of work
that it ever does."""

import contextlib
import json
import socket

from harness import CLUSTER_TOOL, SHORT_INTERVALS, STATUS_SOCKET, copy_key, eventually, expect
from harness import hostile_service, joined_nodes, peer
from harness import stacks

NOT_WITH_SANITIZERS = "their frames are larger, and so are their stacks"
TAKES_SECONDS = 60

LIMIT_BYTES = 40 * 1024

SETTINGS = {
    **SHORT_INTERVALS,
    "THR_OF_RDISK_ERRHANDLE": 2,
    "THR_OF_HB_LATENCY": 0,
    "TOLERANCE_TIMES_OF_HB_LATENCY": 0,
    "THR_OF_HB_PKT_DROP": 0,
    "TOLERANCE_TIMES_OF_PKT_DROP": 0,
    "BASE_INTERVAL_LOG_ROTATE": 0,
    "SIZE_MAX_OF_LOG_FILE": 100,
}
SUPPORT_SETTINGS = {
    "restart": "request-then-command",
    "restartCommand": ["/var/packages/Twinhold/target/sbin/restart", "by command"],
    "orderlyCommand": ["/var/packages/Twinhold/target/sbin/restart"],
    "disks": ["sda"],
}
WITHOUT_DRBD = {**SUPPORT_SETTINGS, "drbd": False}
RESTARTS = "/run/restarts"
LOCAL_DOOR = "/run/koraha/server.sock"

DRBD_VERSION = "version: 9.1.4 (api:2/proto:110-121)\n"
DRBD_EVENTS = """exists resource name:r0 role:Secondary suspended:no
exists connection name:r0 peer-node-id:1 conn-name:node2 connection:Connected role:Primary
exists path name:r0 peer-node-id:1 conn-name:node2 local:ipv4:10.77.0.1:7789 \
peer:ipv4:10.77.0.2:7789 established:yes
exists device name:r0 volume:0 minor:0 disk:UpToDate client:no quorum:yes
exists peer-device name:r0 peer-node-id:1 conn-name:node2 volume:0 replication:Established \
peer-disk:UpToDate peer-client:no resync-suspended:no
exists -
"""

# /proc as it is with DRBD 9: everything there is, by links, and one file more.
PROC_WITH_DRBD = """
mkdir /run/kernel /run/proc
mount -t proc proc /run/kernel
mount -t tmpfs tmpfs /run/proc
for entry in /run/kernel/*; do ln -s "$entry" "/run/proc/${entry##*/}"; done
for number in $(seq 100); do ln -sfn "/run/kernel/$number" "/run/proc/$number"; done
mount --move /run/proc /proc
"""


def give_drbd(node):
    """DRBD 9, of which only its tool tells more than the version."""
    node.run("sh", "-ec", PROC_WITH_DRBD)
    node.write("/proc/drbd", DRBD_VERSION)
    node.run("mount", "-t", "tmpfs", "tmpfs", "/usr/sbin")
    node.write("/usr/sbin/drbdsetup", f"#!/bin/sh\ncat << 'END'\n{DRBD_EVENTS}END\n", 0o755)


def give_disk(node):
    node.run("mount", "-t", "tmpfs", "tmpfs", "/sys/block")
    set_disk(node, "running")


def set_disk(node, state):
    node.write("/sys/block/sda/device/state", state + "\n")


def set_array(node, action):
    node.write("/sys/block/md0/md/array_state", "clean\n")
    node.write("/sys/block/md0/md/degraded", "1\n")
    node.write("/sys/block/md0/md/sync_action", action + "\n")


def forget_restarts(node):
    for name in ("asked", "obeyed"):
        node.remove(f"/var/lib/ha/restart.{name}")
    node.remove(RESTARTS)


def local_clients(node, path):
    """One of each kind of request at a time, then a crowd."""
    requests = [b'{"request":"status"}', b'{"request":"history"}', b'{"request":"watch"}']
    requests += [b"[" * 4000, b"[" * 16 + b"]" * 16, b"\xff\xfe\0", b'{"request":1e999}']
    with contextlib.ExitStack() as crowd:
        for number in range(30):
            with contextlib.suppress(OSError):
                client = crowd.enter_context(socket.socket(socket.AF_UNIX))
                client.settimeout(5)
                client.connect(node.path(path))
                client.sendall(requests[number % len(requests)] + b"\n")
                client.recv(65536)


def peer_clients(node, address):
    for message in (b"x" * 10_000, peer.frame(peer.HELLO, bytes(32)), peer.frame(9, b"")):
        with contextlib.suppress(OSError), peer.connect(node, address) as connection:
            connection.sendall(message)
            connection.recv(65536)


def hostile_answers(daemon, node2, key):
    nested = {"a": 1}
    for _ in range(7):
        nested = {"disks": [nested]}
    for payload, reason in (
        (b"[" * 60_000, "the peer's answer is nested too deep"),
        (json.dumps(nested).encode(), "the peer's answer lacks what it must hold"),
        (b'{"a":"' + b"\\u00e9" * 9000 + b"!", "the peer's answer is no JSON"),
    ):
        with hostile_service(node2, lambda each, it=payload: peer.reply(each, it, key=key)):
            daemon.wait_for(
                reason, lambda now, it=reason: now["readings"]["remoteMDResync"]["reason"] == it
            )


def unrunnable_tool(node):
    """The latency's monitor tries it with each sample, until it can be run."""
    node.system_log.await_text("libkoracore: cannot run")
    node.write(CLUSTER_TOOL, "#!/bin/sh\necho told >> /run/notifications\n", 0o755)
    eventually("it is run", lambda: node.exists("/run/notifications"))


def failing_log_and_link(node, daemon):
    node.run("mount", "-t", "tmpfs", "-o", "ro", "tmpfs", "/var/log/ha")
    node.system_log.await_text("a log cannot be written: /var/log/ha/ha.daemon.log")
    node.run("/bin/ip", "link", "set", "link0", "down")
    daemon.wait_for("the peer is lost", lambda now: not now["remoteAlive"])
    node.run("/bin/ip", "link", "set", "link0", "up")
    daemon.wait_for("the peer is back", lambda now: now["remoteAlive"])
    node.run("umount", "/var/log/ha")
    node.system_log.await_text("a log can be written again: /var/log/ha/ha.daemon.log")


def one_restarts_the_other(node1, node2):
    """Through a disk of the other that stays under error handling, and no constraint here."""
    for node in (node1, node2):
        forget_restarts(node)
    set_disk(node2, "blocked")
    eventually(f"{node2.name} is asked to restart", lambda: node2.exists(RESTARTS))
    set_disk(node2, "running")


def all_kinds_of_work(node1, node2, key):
    node1.write(CLUSTER_TOOL, "no program", 0o644)
    daemon = node1.daemon(settings=SETTINGS).serves()
    unrunnable_tool(node1)
    names = [f"disk-{number}" for number in range(256)]
    many = peer.state(mdResync=True, diskErrHandling=True, disks=names)
    with hostile_service(node2, lambda each: peer.reply(each, many, key=key)):
        eventually("the command restarts a peer that obeys none", lambda: node1.exists(RESTARTS))
    hostile_answers(daemon, node2, key)

    other = node2.daemon(settings=SETTINGS).serves()
    one_restarts_the_other(node1, node2)
    other.wait_for("its disk is well", lambda now: not now["localDiskErrHandling"])
    one_restarts_the_other(node2, node1)
    for each in (node1, node2):
        set_array(each, "recover")
    daemon.wait_for(
        "all is known", lambda now: now["drbdConnected"] and now["degradedArrays"] == ["md0"]
    )
    set_disk(node2, "blocked")
    eventually("the constraints forbid a restart", lambda: node1.system_log.count("must not be"))
    failing_log_and_link(node1, daemon)
    for path in (STATUS_SOCKET, LOCAL_DOOR):
        local_clients(node1, path)
    peer_clients(node2, node1.address)
    eventually("the log is rotated", lambda: node1.exists("/var/log/ha/ha.daemon.log.5"))
    return daemon, other


def case(build):
    with joined_nodes(build) as (node1, node2):
        key = copy_key(node1, node2)
        node1.write("/var/lib/ha/hasupport.conf", json.dumps(SUPPORT_SETTINGS))
        node2.write("/var/lib/ha/hasupport.conf", json.dumps(WITHOUT_DRBD))
        give_drbd(node1)
        for node in (node1, node2):
            give_disk(node)
        daemons = all_kinds_of_work(node1, node2, key)
        used = [stacks.depths(daemon.pid) for daemon in daemons]
        deepest = {name: max(each[name] for each in used) for name in stacks.ROUTINES}
        for name, depth in deepest.items():
            print(f"figure: {name} used {depth} of {stacks.STACK_BYTES} bytes of stack")
        for name, depth in deepest.items():
            expect(0 < depth < LIMIT_BYTES, f"{name} used {depth} bytes of its stack")
