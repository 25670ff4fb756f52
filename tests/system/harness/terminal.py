# SPDX-License-Identifier: Apache-2.0
"""A program on a terminal of its own."""

import fcntl
import os
import select
import struct
import subprocess
import termios
import time

from .checks import CaseFailed, eventually
from .screen import OWN_SCREEN, Screen


class Terminal:
    """Runs the command with a pseudo terminal as its standard streams and its controlling
    terminal. `screen` is what a person would see."""

    def __init__(self, command, width=80, height=24, **environment):
        self.screen = Screen(width, height)
        self._ours, theirs = os.openpty()
        self._resize_terminal(width, height)
        self.modes_before = termios.tcgetattr(theirs)
        self.process = subprocess.Popen(
            command,
            stdin=theirs,
            stdout=theirs,
            stderr=theirs,
            env={
                "PATH": os.environ["PATH"],
                "TERM": "xterm-256color",
                "LC_ALL": "C.UTF-8",
                **environment,
            },
            start_new_session=True,
            preexec_fn=lambda: fcntl.ioctl(0, termios.TIOCSCTTY, 0),
        )
        self._theirs = theirs

    def __enter__(self):
        return self

    def __exit__(self, *_):
        if self.process.poll() is None:
            self.process.kill()
        self.process.wait()
        os.close(self._ours)
        os.close(self._theirs)

    def resize(self, width, height):
        self.read()
        self.screen.resize(width, height)
        self._resize_terminal(width, height)

    def _resize_terminal(self, width, height):
        fcntl.ioctl(self._ours, termios.TIOCSWINSZ, struct.pack("HHHH", height, width, 0, 0))

    def press(self, keys):
        os.write(self._ours, keys.encode())

    def read(self, seconds=0.0):
        """Takes what has come, and what comes within the time."""
        deadline = time.monotonic() + seconds
        while select.select([self._ours], [], [], max(deadline - time.monotonic(), 0))[0]:
            self.screen.feed(os.read(self._ours, 65536))

    def wait_for(self, *texts, without=(), seconds=30):
        """Until all the texts are on the screen and none of the others is."""

        def there():
            self.read(0.05)
            seen = self.screen.text()
            return all(text in seen for text in texts) and not any(text in seen for text in without)

        try:
            eventually(f"{texts} on the screen, without {without}", there, seconds)
        except CaseFailed as problem:
            raise CaseFailed(f"{problem}; there is\n{self.screen.text()}") from None

    def ended(self, seconds=30):
        """The exit status, minus the signal if one ended it."""
        eventually("the program ends", lambda: self.read(0.05) or self.process.poll() is not None,
                   seconds)
        self.read()
        return self.process.returncode

    def modes(self):
        return termios.tcgetattr(self._theirs)

    def is_given_back(self):
        """The screen is the shell's again, its cursor is shown, and keys work as before."""
        on = self.screen.modes
        return OWN_SCREEN not in on and 25 in on and 1 not in on and self.modes() == self.modes_before
