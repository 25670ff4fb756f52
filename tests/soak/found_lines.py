# SPDX-License-Identifier: Apache-2.0
"""Compares the lines that daemons logged with the lines found in their files.

Every line carries the run of its daemon, the thread and a number (see numbered_lines.cpp). Files are
held open from the moment they are seen, so rotating them away hides nothing."""

import os
import re
import struct
from collections import defaultdict

NUMBER = re.compile(rb" #(\d+)\.(\d+)\.(\d+)\n")
LINE = re.compile(rb"^(?!\t).*\n", re.MULTILINE)
LOST = re.compile(rb"^.*libkorahadaemon.* lost.*$", re.MULTILINE)
NAMES = ("/var/log/ha/ha.daemon.log", "/var/log/ha/ha.daemon.record")
GENERATIONS = ["", ".1", ".2", ".3", ".4", ".5"]
CHUNK = 1 << 18
MISSED_LOOKS = 20  # a file that is renamed during a look may be missed by it


class OpenFile:
    """A log file under whatever name it has by now."""

    def __init__(self, descriptor):
        self.descriptor = descriptor
        self.rest = b""
        self.missed = 0

    def new_lines(self):
        """Whole lines that were not read before; nothing at the end."""
        while chunk := os.read(self.descriptor, CHUNK):
            whole, newline, self.rest = (self.rest + chunk).rpartition(b"\n")
            if newline:
                yield whole + newline


class FoundLines:
    """What stands in the log files of one node."""

    def __init__(self, node):
        self.node = node
        self.lines = 0
        self.lost = []
        self.out_of_order = 0
        self.strange = []  # what is out of order, in words
        self._counts = defaultdict(bytearray)  # how often each number of a run's thread was found
        self._last = {}
        self._open = {}

    def look(self):
        """Reads what is new, the oldest file first."""
        for name in NAMES:
            seen = set()
            for generation in reversed(GENERATIONS):
                try:
                    descriptor = os.open(self.node.path(name + generation), os.O_RDONLY)
                except FileNotFoundError:
                    continue
                identity = (name, os.fstat(descriptor).st_ino)
                if identity in self._open:
                    os.close(descriptor)
                else:
                    self._open[identity] = OpenFile(descriptor)
                seen.add(identity)
            for identity in [each for each in self._open if each[0] == name]:
                file = self._open[identity]
                self._read(name, file)
                file.missed = 0 if identity in seen else file.missed + 1
                if file.missed > MISSED_LOOKS:
                    os.close(self._open.pop(identity).descriptor)

    def _read(self, name, file):
        for text in file.new_lines():
            self.lost += [line.decode(errors="replace") for line in LOST.findall(text)]
            for match in NUMBER.finditer(text):
                self._count(name, *map(int, match.groups()))

    def _count(self, name, run, thread, number):
        self.lines += 1
        counts = self._counts[run, thread]
        if len(counts) <= number:
            counts.extend(bytes(number + 1 - len(counts) + 4096))
        counts[number] = min(counts[number] + 1, 255)
        if self._last.get((name, run, thread), 0) >= number:
            self.out_of_order += 1
            self.strange.append(f"{name}: run {run}, thread {thread}: number {number} after "
                                f"{self._last[name, run, thread]}")
        self._last[name, run, thread] = number

    def compare(self, runs):
        """(logged, missing, found twice) after the last look; `runs` are numbers files by run."""
        logged = missing = twice = 0
        for run, content in runs.items():
            for thread in range(len(content) // 16):
                begun, returned = struct.unpack_from("<QQ", content, 16 * thread)
                counts = self._counts[run, thread]
                found = counts[1 : returned + 1]
                logged += returned
                missing += returned - len(found) + found.count(0)
                twice += sum(each > 1 for each in counts)
                beyond = counts[begun + 1 :]
                twice += len(beyond) - beyond.count(0)  # nobody logged these
        return logged, missing, twice
