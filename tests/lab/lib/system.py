# SPDX-License-Identifier: Apache-2.0
"""Nodes that run a whole Debian with its service manager, and the daemon from its packages."""

from lib import host
from lib.host import LabError, run
from lib.pair import Node, Pair

WITH = ["systemd-sysv", "udev", "dbus", "kmod", "iproute2", "iputils-ping", "procps", "e2fsprogs",
        "drbd-utils", "mdadm", "python3-minimal"]
ENABLED = ["systemd-networkd", "systemd-networkd-wait-online"]
# What a node that lives for minutes only loses time with.
MASKED = ["serial-getty@ttyS0.service", "getty.target", "timers.target", "systemd-random-seed.service",
          "e2scrub_reap.service", "systemd-pstore.service", "systemd-update-utmp.service",
          "systemd-update-utmp-runlevel.service", "systemd-binfmt.service", "dev-hugepages.mount",
          "proc-sys-fs-binfmt_misc.automount", "sys-kernel-debug.mount", "sys-kernel-tracing.mount",
          "modprobe@drm.service", "modprobe@fuse.service", "modprobe@loop.service", "modprobe@configfs.service"]
COLDPLUG = ("etc/systemd/system/systemd-udev-trigger.service.d/few.conf",
            "[Service]\nExecStart=\nExecStart=-udevadm trigger --action=add --subsystem-match=net "
            "--subsystem-match=block\n")
SOURCES = ["CMakeLists.txt", "cmake", "config", "daemon", "hasupport", "log", "monitor", "packaging", "server",
           "tools"]
PACKAGES = ["libkoracore1", "libkorahadaemon1", "koraharemotemond", "korahamonctl"]
INSTALL = "dpkg -i " + " ".join(f"/lab/build/{name}_*.deb" for name in PACKAGES)
SYSTEM = "system"  # in the lab's cache
BUILT = "build/packages"
UNIT = "koraharemotemond"
LOG = "/var/log/ha/ha.daemon.log"
BUFFER = "/run/koraha/ha.daemon.log.*.lines"


def dependencies(packages):
    """What the packages depend on, but for each other; of alternatives the first."""
    names = set()
    for name in PACKAGES:
        built = next(packages.glob(f"{name}_*.deb"))
        for wanted in run("dpkg-deb", "--field", built, "Depends").split(","):
            names.add(wanted.split()[0])
    return sorted(names.difference(PACKAGES))


def make_root(cache, packages):
    """A fresh system with what the packages depend on, made once; the nodes only read it."""
    root, stamp = cache / SYSTEM, cache / f"{SYSTEM}.made-with"
    included = [*WITH, *dependencies(packages)]
    made_with = "\n".join([*included, *ENABLED, *MASKED, *COLDPLUG])
    if stamp.exists() and stamp.read_text() == made_with:
        return root
    stamp.unlink(missing_ok=True)
    host.remove(root)
    mirror = run("apt-get", "indextargets", "--format", "$(SITE)", "Created-By: Packages").split("\n")[0]
    run("debootstrap", "--variant=minbase", "--include=" + ",".join(included), "bookworm", root, mirror)
    run("systemctl", "--root", root, "enable", *ENABLED)
    run("systemctl", "--root", root, "mask", *MASKED)
    (root / COLDPLUG[0]).parent.mkdir()
    (root / COLDPLUG[0]).write_text(COLDPLUG[1])
    stamp.write_text(made_with)
    return root


def make_packages(top):
    """The packages of what lies here now."""
    packages = top / BUILT
    built = next(packages.glob("koraharemotemond_*.deb"), None)
    if built is None or run("find", *SOURCES, "-newer", built, cwd=top):
        run("scripts/package", cwd=top)
    return packages


def prepare(top, cache):
    """Makes, or makes anew, what the nodes of all such pairs read."""
    make_root(cache, make_packages(top))


class SystemNode(Node):
    tool = "korahamonctl"
    patience = 300  # a service manager has to do with many commands

    def set_up(self, settings=None, support=None):
        """What a person does on a fresh node."""
        self.run(INSTALL)
        self.run(f"sed -i -e 's/^LOCAL_ADDRESS=.*/LOCAL_ADDRESS={self.address}/' "
                 f"-e 's/^PEER_ADDRESS=.*/PEER_ADDRESS={self.peer_address}/' "
                 f"-e 's/^INTERFACE=.*/INTERFACE=eth0/' /etc/default/{UNIT}")
        self.configure(settings, support)

    def known_lines(self):
        """Every line of the daemon log, on disk or still in the daemon's buffer."""
        text = self.run(f"cat {BUFFER} {LOG}* 2>/dev/null | grep -aoE "
                        "'[0-9]{4}-[0-9-]+T[0-9:.]+Z [^[:cntrl:]]+'", check=False)
        return set(filter(None, text.split("\n")))

    def on_disk(self, lines):
        """How often each of `lines` stands in the log files."""
        found = self.run(f"cat {LOG}* 2>/dev/null", check=False).split("\n")
        return {line: found.count(line) for line in lines}

    def lines_on_disk(self, lines):
        return sum(count > 0 for count in self.on_disk(lines).values())

    def check_log(self, lines, event):
        wrong = {line: count for line, count in self.on_disk(lines).items() if count != 1}
        if wrong or not lines:
            raise LabError(f"node{self.number}: after {event}, lines and how often they stand in the log: {wrong}")

    def pid(self):
        return int(self.run(f"systemctl show --property MainPID --value {UNIT}"))


class SystemPair(Pair):
    node_type = SystemNode
    boot_seconds = 600

    def __init__(self, paths, results):
        super().__init__({**paths, "system": paths["kernel"].parent / SYSTEM,
                          "build": paths["guest"].parent.parent.parent / BUILT}, results)
        for node in self.nodes:
            disk = node.directory / "vda"
            with open(disk, "wb") as file:
                file.truncate(1 << 30)
            run("mke2fs", "-q", "-t", "ext4", disk)

    def make_key(self):
        """Once the packages with their tool are there."""

    def set_up(self, settings=None, support=None):
        self.both(lambda node: node.set_up(settings, support))
        super().make_key()
        self.both(lambda node: node.run(f"systemctl enable --now {UNIT}"))
