# SPDX-License-Identifier: Apache-2.0
"""The machine that is measured on, and the places of what is measured."""

import os
import platform
import sys
from pathlib import Path

ROOT = Path(__file__).resolve().parents[2]
sys.path.insert(0, str(ROOT / "tests" / "system"))


class Failed(Exception):
    """A row could not be measured."""


class Machine:
    """Two cores are used: `core` by what is measured, `other` by what keeps it busy."""

    def __init__(self):
        self.build = ROOT / "build" / "release"
        self.results = ROOT / "build" / "bench"
        self.results.mkdir(parents=True, exist_ok=True)
        cores = sorted(os.sched_getaffinity(0))
        self.core = cores[0]
        self.other = cores[-1]

    def program(self, name):
        return self.build / "bin" / f"bench_{name}"

    def preloaded(self, name):
        return self.build / "lib" / f"libbench_{name}.so"

    @property
    def tool(self):
        return self.build / "bin" / "korahamonctl"

    def description(self):
        model = "unknown processor"
        for line in Path("/proc/cpuinfo").read_text().splitlines():
            if line.startswith("model name"):
                model = line.split(":", 1)[1].strip()
                break
        kilobytes = int(Path("/proc/meminfo").read_text().split()[1])
        return {
            "processor": model,
            "cores": len(os.sched_getaffinity(0)),
            "virtual": "hypervisor" in Path("/proc/cpuinfo").read_text(),
            "memoryGiB": round(kilobytes / 2**20, 1),
            "kernel": platform.release(),
            "system": system_name(),
        }


def system_name():
    for line in Path("/etc/os-release").read_text().splitlines():
        if line.startswith("PRETTY_NAME="):
            return line.split("=", 1)[1].strip('"')
    return "unknown"
