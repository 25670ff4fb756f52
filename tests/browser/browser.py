# SPDX-License-Identifier: Apache-2.0
"""A headless Chromium, driven over a pipe by its DevTools protocol."""
import base64
import json
import os
import select
import shutil
import subprocess
import tempfile
import time


class Browser:
    """One browser with one page. What the page complains of is collected in `complaints`."""

    def __init__(self, through=()):
        """`through` are words to put before the program, such as those that enter a network."""
        self._profile = tempfile.mkdtemp(prefix="koraha-browser.")
        to_browser, self._to = os.pipe()
        self._from, from_browser = os.pipe()
        arguments = [*through, "chromium", "--headless=new", "--remote-debugging-pipe", "--disable-gpu",
                     "--disable-dev-shm-usage", "--no-first-run", "--hide-scrollbars",
                     "--disable-background-networking",
                     "--host-resolver-rules=MAP evil.example 127.0.0.1",
                     "--user-data-dir=" + self._profile]
        if os.geteuid() == 0:
            arguments.append("--no-sandbox")  # it refuses to run as root with one

        def descriptors():  # it reads requests from 3 and writes replies to 4
            os.dup2(to_browser, 103)
            os.dup2(from_browser, 104)
            os.dup2(103, 3)
            os.dup2(104, 4)

        self._process = subprocess.Popen(
            arguments, preexec_fn=descriptors, pass_fds=(3, 4), stdin=subprocess.DEVNULL,
            stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL,
            env={**os.environ, "HOME": self._profile}, start_new_session=True)
        os.close(to_browser)
        os.close(from_browser)
        self._buffer = b""
        self._last = 0
        self._session = None
        self.complaints = []
        target = self._call("Target.createTarget", url="about:blank")["targetId"]
        self._session = self._call("Target.attachToTarget", targetId=target,
                                   flatten=True)["sessionId"]
        for domain in ("Page", "Runtime", "Log"):
            self._call(domain + ".enable")

    def close(self):
        os.killpg(self._process.pid, 9)
        self._process.wait()
        os.close(self._to)
        os.close(self._from)
        shutil.rmtree(self._profile, ignore_errors=True)

    def __enter__(self):
        return self

    def __exit__(self, *_):
        self.close()

    def _message(self, deadline):
        while b"\0" not in self._buffer:
            ready, _, _ = select.select([self._from], [], [], max(0, deadline - time.monotonic()))
            if not ready:
                raise TimeoutError("the browser does not answer")
            got = os.read(self._from, 1 << 16)
            if not got:
                raise EOFError("the browser has ended")
            self._buffer += got
        message, self._buffer = self._buffer.split(b"\0", 1)
        return json.loads(message)

    def _note(self, message):
        if message.get("method") in ("Log.entryAdded", "Runtime.exceptionThrown",
                                     "Page.javascriptDialogOpening"):
            self.complaints.append(json.dumps(message["params"]))

    def _call(self, method, **parameters):
        self._last += 1
        request = {"id": self._last, "method": method, "params": parameters}
        if self._session:
            request["sessionId"] = self._session
        os.write(self._to, json.dumps(request).encode() + b"\0")
        deadline = time.monotonic() + 120
        while True:
            message = self._message(deadline)
            if message.get("id") == self._last:
                if "error" in message:
                    raise RuntimeError(f"{method}: {message['error']}")
                return message["result"]
            self._note(message)

    def open(self, url):
        self._call("Page.navigate", url=url)

    def evaluate(self, expression):
        """The value of an expression in the page."""
        result = self._call("Runtime.evaluate", expression=expression, returnByValue=True)
        return result["result"].get("value")

    def becomes(self, expression, wanted=True, seconds=90):
        """Whether an expression comes to be what is wanted; what it was last."""
        deadline = time.monotonic() + seconds
        while True:
            value = self.evaluate(expression)
            if value == wanted or time.monotonic() > deadline:
                return value == wanted, value
            time.sleep(0.2)

    def look(self, width, height=1500, scheme="light"):
        """Sizes and colours as a reader has them."""
        self._call("Emulation.setDeviceMetricsOverride", width=width, height=height,
                   deviceScaleFactor=1, mobile=width < 600)
        self._call("Emulation.setEmulatedMedia",
                   features=[{"name": "prefers-color-scheme", "value": scheme}])

    def screenshot(self, path):
        """The whole page as a picture."""
        time.sleep(0.5)  # colours change in a moment, not at once
        data = self._call("Page.captureScreenshot", format="png", captureBeyondViewport=True)
        with open(path, "wb") as file:
            file.write(base64.b64decode(data["data"]))

    def press(self, key):
        for kind in ("keyDown", "keyUp"):
            self._call("Input.dispatchKeyEvent", type=kind, key=key, code=key,
                       windowsVirtualKeyCode={"Tab": 9, "Enter": 13}[key])
