# SPDX-License-Identifier: Apache-2.0
"""One QEMU machine: started, talked to through a serial port and QMP, and ended."""

import base64
import fcntl
import itertools
import json
import os
import queue
import signal
import socket
import subprocess
import threading
import time

from lib import host
from lib.host import LabError

KVM_CREATE_VM = 0xAE01


def has_kvm():
    try:
        device = os.open("/dev/kvm", os.O_RDWR | os.O_CLOEXEC)
    except OSError:
        return False
    try:
        os.close(fcntl.ioctl(device, KVM_CREATE_VM, 0))
        return True
    except OSError:
        return False
    finally:
        os.close(device)


class Machine:
    """A guest. `directory` holds its sockets, its disks and its console's log."""

    patience = 60  # seconds that a command may take, if nothing else is said

    def __init__(self, number, directory, command):
        self.number = number
        self.directory = directory
        self.command = command
        self.answers = {}
        self.boots = queue.Queue()
        self.lock = threading.Lock()
        self.ids = itertools.count(1)

    def launch(self):
        with open(self.directory / "qemu.log", "ab") as console:
            self.process = host.start(self.command, stdin=subprocess.DEVNULL, stdout=console, stderr=console)
        self.port = self._connect("agent.sock")
        threading.Thread(target=self._listen, daemon=True).start()

    def _connect(self, name):
        deadline = time.monotonic() + 20
        while True:
            try:
                link = socket.socket(socket.AF_UNIX)
                link.connect(str(self.directory / name))
                return link
            except OSError:
                link.close()
                if self.process.poll() is not None or time.monotonic() > deadline:
                    raise LabError(f"node{self.number}: QEMU did not start, see its qemu.log")
                time.sleep(0.05)

    def _listen(self):
        self._take_lines()
        with self.lock:  # the machine is gone: nobody need wait for it any longer
            waiting, self.answers = self.answers, None
        for answer in waiting.values():
            answer.put((255, "the machine ended", time.monotonic()))

    def _take_lines(self):
        for line in self._lines():
            words = line.split()
            if len(words) == 2 and words[0] == "ready":
                self.boots.put(words[1])
            elif len(words) >= 2 and words[0].isdigit():
                with self.lock:
                    answer = self.answers.pop(int(words[0]), None)
                if answer is not None:
                    text = base64.b64decode(words[2]).decode(errors="replace") if words[2:] else ""
                    answer.put((int(words[1]), text, time.monotonic()))

    def _lines(self):
        """What the guest says, until the machine is gone."""
        try:
            yield from self.port.makefile("r", encoding="ascii", errors="replace")
        except OSError:
            return

    def wait_boot(self, seconds):
        """Waits for the node script of a fresh boot; its boot id."""
        try:
            self.boot_id = self.boots.get(timeout=seconds)
            return self.boot_id
        except queue.Empty:
            raise LabError(f"node{self.number} did not boot within {seconds} s") from None

    def send(self, command):
        """Has a shell in the guest run `command`; a queue that its answer comes through."""
        number = next(self.ids)
        answer = queue.Queue()
        with self.lock:
            if self.answers is None:
                raise LabError(f"node{self.number} has ended")
            self.answers[number] = answer
        packed = base64.b64encode(command.encode()).decode()
        self.port.sendall(f"{number} {packed}\n".encode())
        return answer

    def run(self, command, timeout=None, check=True):
        timeout = timeout or self.patience
        try:
            status, output, _ = self.send(command).get(timeout=timeout)
        except queue.Empty:
            raise LabError(f"node{self.number}: no answer within {timeout} s to: {command}") from None
        if check and status != 0:
            raise LabError(f"node{self.number}: exit status {status} of: {command}\n{output}")
        return output

    def qmp(self, execute, **arguments):
        with self._connect("qmp.sock") as link, link.makefile("rw") as lines:
            lines.readline()
            for request in ({"execute": "qmp_capabilities"},
                            {"execute": execute, "arguments": arguments}):
                lines.write(json.dumps(request) + "\n")
                lines.flush()
                reply = {}
                while "return" not in reply and "error" not in reply:
                    reply = json.loads(lines.readline())
            return reply

    def reset(self):
        self.qmp("system_reset")

    def set_link(self, up):
        self.qmp("set_link", name="n0", up=up)

    def freeze(self):
        self.process.send_signal(signal.SIGSTOP)

    def thaw(self):
        self.process.send_signal(signal.SIGCONT)

    def stop(self):
        if getattr(self, "process", None) and self.process.poll() is None:
            self.process.kill()
            self.process.wait()
