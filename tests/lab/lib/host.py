# SPDX-License-Identifier: Apache-2.0
"""What the lab has done on the machine that it runs on: it ends with the lab, however that ends."""

import contextlib
import ctypes
import fcntl
import functools
import os
import pathlib
import shutil
import signal
import subprocess

PR_SET_PDEATHSIG = 1

# The kernel ends all of a process namespace with its first process, and a mount namespace with its last.
ENCLOSED = ("unshare", "--mount", "--pid", "--fork", "--kill-child")


class LabError(Exception):
    """Something that was expected did not happen."""


def die_with(parent):
    """The kernel kills this process when its parent's thread ends, however that comes about."""
    ctypes.CDLL(None).prctl(PR_SET_PDEATHSIG, signal.SIGKILL)
    if os.getppid() != parent:
        os._exit(1)


def start(words, **options):
    """A process that ends with this one. To be called in the main thread, whose end is that of all."""
    lab = os.getpid()
    return subprocess.Popen(words, preexec_fn=lambda: die_with(lab), **options)


@functools.cache
def enclosing():
    """How to enclose a command: as another user than root within a user namespace, if that may be made."""
    for way in (ENCLOSED, (*ENCLOSED, "--user", "--map-current-user")):
        if subprocess.run([*way, "true"], stderr=subprocess.DEVNULL).returncode == 0:
            return way
    return ()


def run(*words, cwd=None, given=None):
    """What `words` print. Their processes and mounts are gone with them, and with the lab."""
    process = start([*enclosing(), *map(str, words)], cwd=cwd, text=True, stdin=subprocess.PIPE,
                    stdout=subprocess.PIPE, stderr=subprocess.STDOUT)
    output, _ = process.communicate(given)
    if process.returncode != 0:
        raise LabError(f"exit status {process.returncode} of: {' '.join(map(str, words))}\n{output[-3000:]}")
    return output


def remove(tree):
    """Removes a directory, if there is one; never what is mounted below it."""
    below = f"{pathlib.Path(tree).resolve()}/"
    mounted = [line.split()[4] for line in pathlib.Path("/proc/self/mountinfo").read_text().splitlines()
               if f"{line.split()[4]}/".startswith(below)]
    if mounted:
        raise LabError("not removed, since these are mounted there: " + " ".join(mounted))
    shutil.rmtree(tree, ignore_errors=True)


@contextlib.contextmanager
def alone(directory):
    """No other lab prepares anything in `directory` meanwhile."""
    with open(directory / "lock", "w") as lock:
        fcntl.flock(lock, fcntl.LOCK_EX)
        yield
