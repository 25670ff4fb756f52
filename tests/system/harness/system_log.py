# SPDX-License-Identifier: Apache-2.0
"""The system log of a node: a listener at its /dev/log."""

import re
import socket
import threading
from typing import NamedTuple

from .checks import eventually

LOG_ERR = 3
LOG_USER = 1 << 3

RECORD = re.compile(r"<(\d+)>[A-Z][a-z]{2} [ \d]\d \d\d:\d\d:\d\d ([^ :\[]+): (.*)", re.DOTALL)


class SystemLogLine(NamedTuple):
    facility: int
    priority: int
    sender: str
    text: str


def parse(record):
    match = RECORD.fullmatch(record)
    if not match:
        return SystemLogLine(-1, -1, "", record)
    word = int(match[1])
    return SystemLogLine(word & ~7, word & 7, match[2], match[3])


class SystemLog:
    """Takes what is sent at once, in a thread: a full queue would hold up the sender."""

    def __init__(self, path):
        self._lines = []
        self._socket = socket.socket(socket.AF_UNIX, socket.SOCK_DGRAM)
        self._socket.bind(path)
        threading.Thread(target=self._listen, daemon=True).start()

    def lines(self):
        return list(self._lines)

    def texts(self):
        return [line.text for line in self._lines]

    def count(self, text):
        return sum(text in each for each in self.texts())

    def clear(self):
        self._lines.clear()

    def await_lines(self, count):
        """What was sent may still be on its way through the listening thread."""
        eventually(f"the system log gets {count} lines", lambda: len(self._lines) >= count)

    def await_text(self, text, count=1):
        eventually(f"the system log gets {text!r}", lambda: self.count(text) >= count)

    def _listen(self):
        while True:
            self._lines.append(parse(self._socket.recv(65536).decode(errors="replace")))
