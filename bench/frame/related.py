# SPDX-License-Identifier: Apache-2.0
"""The related daemons of the distribution: unpacked beside the build, never installed as services
of this machine, and run in nodes of their own."""

import os
import shutil
import subprocess
from pathlib import Path

from harness import eventually
from .machine import Failed

PACKAGES = ["corosync", "keepalived", "monit", "prometheus-node-exporter"]

COROSYNC = """totem {{
    version: 2
    cluster_name: bench
    transport: knet
    crypto_cipher: none
    crypto_hash: none{token}
}}
nodelist {{
    node {{
        name: node1
        nodeid: 1
        ring0_addr: 10.77.0.1
    }}
    node {{
        name: node2
        nodeid: 2
        ring0_addr: 10.77.0.2
    }}
}}
quorum {{
    provider: corosync_votequorum
    two_node: 1
}}
logging {{
    to_stderr: no
    to_logfile: no
    to_syslog: no
}}
"""
KEEPALIVED = """global_defs {{
    router_id node{number}
    vrrp_garp_master_repeat 1
}}
vrrp_instance bench {{
    state BACKUP
    interface link0
    virtual_router_id 7
    priority {priority}
    advert_int {interval}
    virtual_ipaddress {{
        10.77.0.100/24
    }}
}}
"""
MONIT = """set daemon 30
set pidfile /run/monit.pid
set statefile /run/monit.state
set idfile /run/monit.id
check host peer with address {peer}
    if failed ping then alert
check network link with interface link0
    if failed link then alert
    if download > 1 GB/s then alert
check system node
    if memory usage > 99% then alert
    if cpu usage > 99% then alert
check filesystem root with path /
    if space usage > 99% then alert
check program arrays with path "/bin/grep -q resync /proc/mdstat"
    if status = 99 then alert
check program mirror with path "/bin/grep -q Connected /proc/drbd"
    if status = 99 then alert
"""


def unpacked(machine):
    """The directory with the packages' /usr, made once."""
    root = machine.build / "related"
    if (root / "complete").exists():
        return root
    shutil.rmtree(root, ignore_errors=True)
    (root / "archives" / "partial").mkdir(parents=True)
    quiet = {"check": True, "stdout": subprocess.DEVNULL, "stderr": subprocess.DEVNULL}
    subprocess.run(["apt-get", "update", "-qq"], **quiet)
    command = ["apt-get", "install", "--download-only", "--reinstall", "-y", "-qq"]
    command += ["--no-install-recommends", "-o", f"Dir::Cache::archives={root}/archives"]
    env = {**os.environ, "DEBIAN_FRONTEND": "noninteractive"}
    # Two apt-gets at a time are refused.
    eventually("the related daemons are downloaded",
               lambda: subprocess.run([*command, *PACKAGES], env=env, stdout=subprocess.DEVNULL,
                                      stderr=subprocess.DEVNULL).returncode == 0, 120, 5)
    for archive in sorted((root / "archives").glob("*.deb")):
        subprocess.run(["dpkg", "-x", archive, root / "tree"], **quiet)
    if (root / "tree" / "lib").is_dir() and not (root / "tree" / "lib").is_symlink():
        shutil.copytree(root / "tree" / "lib", root / "tree" / "usr" / "lib", dirs_exist_ok=True)
    shutil.rmtree(root / "archives")
    if not (root / "tree" / "usr" / "sbin" / "corosync").exists():
        raise Failed("the related daemons cannot be unpacked")
    (root / "complete").touch()
    return root


def offer(machine, node):
    """Shows the packages' files in the node as if they were installed."""
    unpacked(machine)
    lower = "lowerdir=/mnt/build/related/tree/usr:/usr"
    node.run("mount", "-t", "overlay", "overlay", "-o", lower, "/usr")
    node.run("mkdir", "-p", "/dev/shm", "/var/lib/corosync", "/var/log/corosync", "/var/run")
    node.run("mount", "-t", "tmpfs", "tmpfs", "/dev/shm")


class Related:
    """A related daemon that runs in a node, with all its processes."""

    def __init__(self, node, name, *command):
        self.name = name
        output = Path(node.keep) / f"{name}.out"
        with output.open("wb") as file:
            self._process = subprocess.Popen(
                [*node.enter(), *command], stdin=subprocess.DEVNULL, stdout=file, stderr=file
            )
        self._output = output
        eventually(f"{name} is started",
                   lambda: children(self._process.pid) or self._process.poll() is not None)

    def pids(self):
        """The processes that it consists of, without the one that entered the node."""
        found = []
        waiting = list(children(self._process.pid))
        while waiting:
            pid = waiting.pop()
            waiting += children(pid)
            found.append(pid)
        if not found:
            raise Failed(f"{self.name} does not run: {self._output.read_text()[-400:]}")
        return found


    def output(self):
        return self._output.read_text(errors="replace")


def children(pid):
    try:
        return [int(each) for each in
                Path(f"/proc/{pid}/task/{pid}/children").read_text().split()]
    except FileNotFoundError:
        return []


def corosync(node, token=None):
    setting = f"\n    token: {token}" if token else ""
    node.write("/run/corosync.conf", COROSYNC.format(token=setting))
    return Related(node, "corosync", "/usr/sbin/corosync", "-f", "-c", "/run/corosync.conf")


def keepalived(node, interval=1):
    priority = 200 - 50 * node.number
    text = KEEPALIVED.format(number=node.number, priority=priority, interval=interval)
    node.write("/run/keepalived.conf", text)
    return Related(node, "keepalived", "/usr/sbin/keepalived", "-n", "-l", "-P", "-f",
                   "/run/keepalived.conf")


def monit(node):
    node.write("/run/monitrc", MONIT.format(peer=f"10.77.0.{3 - node.number}"), 0o600)
    return Related(node, "monit", "/usr/bin/monit", "-I", "-c", "/run/monitrc")


def node_exporter(node):
    return Related(node, "node_exporter", "/usr/bin/prometheus-node-exporter",
                   "--web.listen-address=127.0.0.1:9100")
