# SPDX-License-Identifier: Apache-2.0
"""A node: namespaces of its own, with private /tmp, /run, /var and /dev/log."""

import contextlib
import os
import shutil
import socket
import subprocess
import tempfile
from pathlib import Path

from .checks import eventually
from .daemon import Daemon, environment, first_child
from .socket_maker import SocketMaker
from .system_log import SystemLog

HERE = Path(__file__).resolve().parent
PEER_KEY = "/var/lib/ha/peer.key"
CLUSTER_TOOL = "/var/packages/Twinhold/target/sbin/koraha"

class Node:
    def __init__(self, name, build):
        self.name = name
        self.number = int(name[-1])
        self.address = f"10.77.0.{self.number}"
        self.daemons = []
        self._sockets = None
        self.keep = tempfile.mkdtemp(prefix="node.")
        shutil.copy(HERE.parents[1] / "tsan.suppressions", self.keep)
        (Path(self.keep) / name).mkdir()
        (Path(self.keep) / "build").mkdir()
        self._outer = self._unshare(build)
        self.inner = eventually("the node's first process runs", self._find_inner)
        eventually(f"{name} is ready", lambda: self.exists("/run/ready"))
        self.system_log = SystemLog(self.path("/dev/log"))

    def _unshare(self, build):
        flags = ["--net", "--mount", "--pid", "--ipc", "--uts", "--fork", "--kill-child"]
        script = '. "$1"; node_init "$2" "$3" "$4"'
        names = [HERE.parent / "node_init.sh", self.name, self.keep, Path(build).resolve()]
        return subprocess.Popen(["unshare", *flags, "bash", "-c", script, "bash", *names])

    def _find_inner(self):
        return first_child(self._outer.pid)

    def stop(self):
        if self._sockets is not None:
            self._sockets.close()
        subprocess.run(["kill", "-KILL", str(self.inner), str(self._outer.pid)], check=False)
        self._outer.wait()
        shutil.rmtree(self.keep, ignore_errors=True)

    # Files, reached from outside through the root directory of the node's first process.

    def path(self, path):
        return f"/proc/{self.inner}/root{path}"

    def exists(self, path):
        return os.path.lexists(self.path(path))

    def read(self, path):
        try:
            return Path(self.path(path)).read_text(errors="replace")
        except FileNotFoundError:
            return ""

    def write(self, path, content, mode=0o644):
        file = Path(self.path(path))
        file.parent.mkdir(parents=True, exist_ok=True)
        file.write_bytes(content if isinstance(content, bytes) else content.encode())
        file.chmod(mode)

    def remove(self, path):
        file = Path(self.path(path))
        if file.is_dir() and not file.is_symlink():
            shutil.rmtree(file)
        else:
            file.unlink(missing_ok=True)

    def forget_logs(self):
        """Both log files, and what waits in memory to be written to them."""
        for directory in ("/var/log/ha", "/run/koraha"):
            for file in Path(self.path(directory)).glob("*"):
                if file.name.startswith("ha.daemon"):
                    file.unlink()

    # Processes.

    def enter(self, *kinds):
        """The words before a command that is to run in some of the node's namespaces."""
        flags = [f"--{kind}" for kind in kinds or ("net", "mount", "pid", "ipc", "uts")]
        return ["nsenter", "--target", str(self.inner), *flags]

    def run(self, *command):
        done = subprocess.run(
            [*self.enter(), *command],
            check=True,
            stdin=subprocess.DEVNULL,
            stdout=subprocess.PIPE,
            env={**os.environ, **environment()},
        )
        return done.stdout.decode()

    def tool(self, *arguments):
        return self.run("/mnt/build/bin/korahamonctl", *arguments)

    def daemon(self, arguments=None, **options):
        """Starts a daemon, with the addresses of the cable unless told otherwise."""
        if arguments is None:
            arguments = [self.address, f"10.77.0.{3 - self.number}", "link0"]
        started = Daemon(self, arguments, **options)
        self.daemons.append(started)
        return started

    def socket(self, family=socket.AF_INET, kind=socket.SOCK_STREAM):
        """A socket of this process that lives in the node's network."""
        if self._sockets is None:
            self._sockets = SocketMaker(self.enter("net"))
        return self._sockets.make(family, kind)


def join(node1, node2):
    """A cable between two nodes: link0 in each, with the addresses 10.77.0.1 and 10.77.0.2."""
    subprocess.run(
        [*node1.enter("net"), "ip", "link", "add", "link0", "type", "veth"]
        + ["peer", "name", "link0", "netns", str(node2.inner)],
        check=True,
    )
    for node in (node1, node2):
        node.run("ip", "addr", "add", f"{node.address}/24", "dev", "link0")
        node.run("ip", "link", "set", "link0", "up")


def copy_key(node1, node2):
    """Makes a peer key for two nodes."""
    node1.tool("peer-key", "new")
    key = Path(node1.path(PEER_KEY)).read_bytes()
    node2.write(PEER_KEY, key, 0o600)
    return key


@contextlib.contextmanager
def nodes(build, *names):
    """Nodes for a case. At its end, whatever still runs must be well; in the end all is gone."""
    made = []
    try:
        for name in names:
            made.append(Node(name, build))
        yield made
        for daemon in (each for node in made for each in node.daemons):
            daemon.expect_well()
    except Exception:
        for node in made:
            describe(node)
        raise
    finally:
        for node in made:
            node.stop()


@contextlib.contextmanager
def one_node(build):
    with nodes(build, "node1") as (node,):
        yield node


@contextlib.contextmanager
def joined_nodes(build):
    with nodes(build, "node1", "node2") as (node1, node2):
        join(node1, node2)
        yield node1, node2


def describe(node):
    """Prints what helps to understand a failure."""
    print(f"--- {node.name}: system log")
    for line in node.system_log.lines():
        print(f"  {line}")
    print(f"--- {node.name}: daemon log")
    for line in node.read("/var/log/ha/ha.daemon.log").splitlines()[-40:]:
        print(f"  {line}")
    for daemon in node.daemons:
        print(f"--- {node.name}: daemon {daemon.pid}, ended with {daemon.process.poll()}, wrote:")
        print(daemon.output()[-8000:])
