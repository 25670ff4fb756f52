# SPDX-License-Identifier: Apache-2.0
"""A pair of lab nodes joined by a replication link."""

import datetime
import json
import pathlib
import queue
import shlex
import shutil
import socket
import tempfile
import time
from concurrent.futures import ThreadPoolExecutor

from lib import ticks
from lib.machine import LabError, Machine

DISK_MEGABYTES = {"vda": 24, "vdb": 48, "vdc": 48}
BIN = "/lab/build/bin"  # in the guests

# What it costs to look, and to be scheduled at all, on a busy machine without KVM.
MEASURING = 3.0

# All paces are one second, so that nothing is waited for but what a scenario is about.
FAST = {
    "BASE_INTERVAL_BUSY_FLAG": 1, "BASE_INTERVAL_ACTIVE": 1, "BASE_INTERVAL_PASSIVE": 1,
    "BASE_INTERVAL_LOG_WRITE": 1, "NUM_OF_REST_NETWORK": 0, "NUM_OF_REST_MON_HB_LATENCY": 0,
    "NUM_OF_REST_MON_PKT_DROP": 0,
}

ASK_HISTORY = """
import socket
link = socket.socket(socket.AF_UNIX)
link.connect("/tmp/.ha_daemon.socket")
link.sendall(b"{\\"request\\":\\"history\\"}\\n")
print(link.makefile().readline())
"""


def free_ports(count):
    sockets = [socket.socket(socket.AF_INET, socket.SOCK_DGRAM) for _ in range(count)]
    for each in sockets:
        each.bind(("127.0.0.1", 0))
    ports = [each.getsockname()[1] for each in sockets]
    for each in sockets:
        each.close()
    return ports


class Awaited:
    """What a node waits for by itself."""

    def __init__(self, node, what, answer):
        self.node = node
        self.what = what
        self.answer = answer

    def since(self, event, limit=60):
        """Waits for it; the seconds from the end of `event`, a time on the host's monotonic clock: 0 when it
        came while the event was still under way."""
        return max(self._seconds_from(event, limit), 0.0)

    def after(self, event, limit=60):
        """The same for an event whose beginning is told: what came before did not come of it."""
        seconds = self._seconds_from(event, limit)
        if seconds < 0:
            raise LabError(f"node{self.node.number}: {-seconds:.1f} s before the event: {self.what}")
        return seconds

    def _seconds_from(self, event, limit):
        try:
            status, output, at = self.answer.get(timeout=limit)
        except queue.Empty:
            raise LabError(f"node{self.node.number}: not within {limit} s: {self.what}\n"
                           + json.dumps(self.node.status(), indent=1)[:4000]
                           + self.node.log()[-2000:]) from None
        if status != 0:
            raise LabError(f"node{self.node.number}: {output}")
        return at - event

    def check_not_yet(self):
        """Fails when it has come, at whatever time since the node began to look."""
        if not self.answer.empty():
            raise LabError(f"node{self.node.number}: came, or could not be looked for: {self.what}\n"
                           f"{self.answer.get()[1]}")


class Node(Machine):
    """A machine that runs the daemon."""

    tool = f"{BIN}/korahamonctl"

    def __init__(self, number, directory, command, paths):
        super().__init__(number, directory, command)
        self.address = f"10.77.0.{number}"
        self.peer_address = f"10.77.0.{3 - number}"
        self.paths = paths

    def put(self, path, text, mode="644"):
        self.run(f"cat > '{path}' <<'END_OF_FILE'\n{text}\nEND_OF_FILE\nchmod {mode} '{path}'")

    def configure(self, settings=None, support=None):
        self.put("/var/lib/ha/remote_mond.conf", json.dumps({**FAST, **(settings or {})}))
        if support is not None:
            self.put("/var/lib/ha/hasupport.conf", json.dumps(support))

    def daemon_line(self, interface="eth0"):
        return f"{BIN}/koraharemotemond {self.address} {self.peer_address} {interface}"

    def start_daemon(self, interface="eth0"):
        self.run("ulimit -l unlimited; mkdir -p /tmp/ha; setsid "
                 f"{self.daemon_line(interface)} </dev/null >/run/daemon.out 2>&1 &\n"
                 "echo $! > /run/daemon.pid")

    def comes_back(self, before=":"):
        """Has the daemon start again by itself when the node restarts, after `before` was run."""
        self.put("/var/lib/ha/on-boot", f"#!/bin/sh\n{before}\nulimit -l unlimited\n"
                 f"echo $$ > /run/daemon.pid\nexec {self.daemon_line()}", "755")

    def ctl(self, arguments, check=False):
        return self.run(f"{self.tool} {arguments}", check=check)

    def status(self, patience=20):
        """The daemon's status; on a starved machine it may need to be asked again."""
        deadline = time.monotonic() + patience
        while True:
            text = self.ctl("status --json")
            try:
                return json.loads(text)
            except ValueError:
                if time.monotonic() > deadline:
                    raise LabError(f"node{self.number}: no status: {text}") from None
                time.sleep(0.5)

    def until(self, condition, what, seconds=30):
        """Waits until `condition(status)` holds; the seconds that it took."""
        began = time.monotonic()
        while True:
            status = self.status()
            if condition(status):
                return time.monotonic() - began
            if time.monotonic() - began > seconds:
                raise LabError(f"node{self.number}: not within {seconds} s: {what}\n"
                               + json.dumps(status, indent=1)[:4000])
            time.sleep(0.2)

    def _awaiting(self, *words):
        mark = f"/run/awaiting.{next(self.ids)}"
        answer = self.send(shlex.join(["/lab/guest/await", mark, *words]))
        self.run(f"until [ -e {mark} ]; do sleep 0.05; done")
        return Awaited(self, words[1], answer)

    def awaiting(self, expression):
        """Has the node wait until `expression` holds for its daemon's status, called s there."""
        return self._awaiting("status", expression)

    def awaiting_log(self, text, count=1):
        return self._awaiting("log", text, str(count))

    def log(self):
        return self.run("cat /var/log/ha/ha.daemon.log* 2>/dev/null", check=False)

    def until_log(self, text, seconds=30, count=1):
        began = time.monotonic()
        while self.log().count(text) < count:
            if time.monotonic() - began > seconds:
                raise LabError(f"node{self.number}: no log line within {seconds} s: {text}\n"
                               + self.log()[-3000:])
            time.sleep(0.3)
        return time.monotonic() - began

    def line_times(self, text):
        """When the log's lines with `text` were written, in seconds on this node's clock."""
        stamps = [line.split("Z ")[0] for line in self.log().split("\n") if text in line]
        return [datetime.datetime.fromisoformat(stamp + "+00:00").timestamp() for stamp in stamps]

    def history(self):
        """The daemon's samples and events, with times in seconds on this node's clock."""
        return json.loads(self.run(f"python3 -c '{ASK_HISTORY}'"))

    def notifications(self):
        return self.run("cat /run/notifications 2>/dev/null", check=False).split("\n")

    def until_notified(self, event, count=1):
        """Waits until the tool was called for `event` so many times; what it was called with."""
        self.run(f"until [ $(grep -c -- {event} /run/notifications) -ge {count} ]; do sleep 0.2; done")
        return [line for line in self.notifications() if event in line]


class Pair:
    """Two nodes, made for one scenario and ended with it."""

    node_type = Node
    boot_seconds = 120

    def __init__(self, paths, results):
        self.paths = paths
        self.results = results
        self.directory = pathlib.Path(tempfile.mkdtemp(dir=paths["scratch"]))
        self.facts = []
        ports = free_ports(2)
        self.nodes = [self._node(1, ports), self._node(2, ports[::-1])]

    def __iter__(self):
        return iter(self.nodes)

    def _node(self, number, ports):
        directory = self.directory / f"node{number}"
        directory.mkdir()
        for name, size in DISK_MEGABYTES.items():
            with open(directory / name, "wb") as disk:
                disk.truncate(size << 20)
        return self.node_type(number, directory, self._command(number, directory, ports), self.paths)

    def _command(self, number, directory, ports):
        kvm = self.paths["accelerator"] == "kvm"
        words = ["console=ttyS0", "quiet", "loglevel=3", "panic=1", "nokaslr", "mitigations=off",
                 "random.trust_cpu=on", "no_timer_check", "tsc=reliable", "net.ifnames=0",
                 f"lab.node={number}", f"lab.modules={self.paths['kernel']}/lib/modules",
                 f"lab.guest={self.paths['guest']}", f"lab.build={self.paths['build']}"]
        if not kvm:  # an emulated counter is the host's
            words.append(f"tsc_early_khz={ticks.per_millisecond()}")
        if "system" in self.paths:
            words.append(f"lab.system={self.paths['system']}")
        command = [
            "qemu-system-x86_64", "-machine", f"q35,accel={'kvm' if kvm else 'tcg'},usb=off",
            "-cpu", "host,-arch-capabilities" if kvm else "max,-la57", "-m", "512", "-smp", "1", "-nodefaults",
            "-nic", "none", "-display", "none", "-serial", f"file:{directory}/console.log",
            "-qmp", f"unix:{directory}/qmp.sock,server=on,wait=off",
            "-kernel", f"{self.paths['kernel']}/vmlinux", "-initrd", self.paths["initramfs"],
            "-append", " ".join(words),
            "-fsdev", "local,id=root,path=/,security_model=none,readonly=on,multidevs=remap",
            "-device", "virtio-9p-pci,fsdev=root,mount_tag=root",
            "-netdev", "dgram,id=n0,local.type=inet,local.host=127.0.0.1,"
            f"local.port={ports[0]},remote.type=inet,remote.host=127.0.0.1,remote.port={ports[1]}",
            "-device", f"virtio-net-pci,netdev=n0,mac=52:54:00:77:00:0{number},romfile=",
            "-device", "virtio-serial-pci",
            "-chardev", f"socket,id=agent,path={directory}/agent.sock,server=on,wait=off",
            "-device", "virtserialport,chardev=agent,name=agent",
        ]
        for name in DISK_MEGABYTES:
            command += ["-drive", f"file={directory}/{name},if=virtio,format=raw,cache=unsafe"]
        return command

    def trial_boot(self, seconds):
        """True when the first node gets as far as its node script."""
        try:
            self.nodes[0].launch()
            self.nodes[0].wait_boot(seconds)
            return True
        except LabError:
            return False

    def boot(self):
        for node in self.nodes:
            node.launch()
        for node in self.nodes:
            node.wait_boot(self.boot_seconds)
        self.make_key()

    def make_key(self):
        """One key for both nodes, made by the project's own tool."""
        first, second = self.nodes
        first.ctl("peer-key new", check=True)
        packed = first.run("base64 -w 0 /var/lib/ha/peer.key")
        second.run("umask 077; echo " + packed + " | base64 -d > /var/lib/ha/peer.key")

    def both(self, work):
        """Has work(node) done on both nodes at the same time."""
        with ThreadPoolExecutor(len(self.nodes)) as pool:
            return list(pool.map(work, self.nodes))

    def start_daemons(self, settings=None, support=None):
        def start(node):
            node.configure(settings, support)
            node.start_daemon()

        self.both(start)
        self.both(lambda node: node.until(lambda s: s.get("remoteAlive") is True, "the peer is alive"))

    def drbd_up(self, *resources):
        """Brings resources up, connected and up to date on both nodes, without a first sync."""
        up = "modprobe drbd minor_count=4" + "".join(
            f"; yes yes | drbdadm create-md --force {each}; drbdadm up {each} || drbdadm adjust {each}"
            for each in resources)  # a step of drbdadm gives up after 5 s, which a busy machine may need
        self.both(lambda node: node.run(up))
        for resource in resources:
            self.nodes[0].run(f"drbdadm wait-connect {resource}; "
                              f"drbdadm -- --clear-bitmap new-current-uuid {resource}")
        self.both(lambda node: node.run(
            "for i in $(seq 100); do "
            f"[ $(grep -c 'cs:Connected.*ds:UpToDate/UpToDate' /proc/drbd) = {len(resources)} ]"
            " && exit 0; sleep 0.2; done; cat /proc/drbd; exit 1"))

    def timed(self, what, took, paces):
        """Notes how long the daemon took, against the sum of the paces and probe bounds on the way."""
        self.note(f"{what}: {took:.1f} s; paces and bounds allow {paces:.1f} s")
        if took > paces + MEASURING:
            raise LabError(f"{what}: took {took:.1f} s, more than {paces:.1f} s")

    def note(self, fact):
        """Keeps one line for the table of results."""
        self.facts.append(fact)

    def collect(self, name):
        """Saves what the nodes know, for a person to look at after a failure."""
        out = self.results / name
        shutil.rmtree(out, ignore_errors=True)
        for node in self.nodes:
            into = out / f"node{node.number}"
            into.mkdir(parents=True)
            for kept in ("console.log", "qemu.log"):
                if (node.directory / kept).exists():
                    shutil.copy(node.directory / kept, into / kept)
            for kept, command in (("daemon.log", "cat /var/log/ha/ha.daemon.log*"),
                                  ("daemon.out", "cat /run/daemon.out"), ("dmesg", "dmesg"),
                                  ("drbd", "cat /proc/drbd"), ("ps", "ps axww"),
                                  ("journal", "journalctl -b --no-pager"),
                                  ("status.json", f"{node.tool} status --json")):
                try:
                    (into / kept).write_text(node.run(command, timeout=5, check=False))
                except Exception as problem:  # a dead guest has nothing more to tell
                    (into / kept).write_text(f"not to be had: {problem}\n")

    def close(self):
        for node in self.nodes:
            node.stop()
        shutil.rmtree(self.directory, ignore_errors=True)
