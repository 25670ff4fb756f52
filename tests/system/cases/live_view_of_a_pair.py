# SPDX-License-Identifier: Apache-2.0
"""The live view beside a real pair: the link is cut and mended, the daemon is killed and comes back.

With KORAHA_PICTURES=DIRECTORY the view is also put there, as watch.svg; that is how the one in
docs/images was made."""

import os
import signal
from pathlib import Path

from harness import SHORT_INTERVALS, copy_key, expect, expect_equal, joined_nodes
from harness.picture import svg
from harness.terminal import Terminal

TAKES_SECONDS = 30
LARGEST_PICTURE = 100_000


def case(build):
    with joined_nodes(build) as (node1, node2):
        copy_key(node1, node2)
        node1.run("hostname", "node1")
        first = node1.daemon(settings=SHORT_INTERVALS).serves()
        node2.daemon(settings=SHORT_INTERVALS).serves()
        view = [*node1.enter(), "/mnt/build/bin/korahamonctl", "watch"]
        with Terminal(view) as terminal:
            terminal.wait_for("alive", "87 Create flag: /tmp/ha/ha_remote_busy", "1 min a block",
                              without=["nothing measured"])
            latency = next(row for row in terminal.screen.lines() if row.startswith("latency"))
            expect(set(latency) & set("▁▂▃▄▅▆▇"), f"the heartbeat's block in {latency!r}")

            node2.run("ip", "link", "set", "link0", "down")
            terminal.wait_for("ALARM: peer not alive", "NOT ALIVE", "94 Delete flag", "unanswered (x)")
            take_picture(terminal)
            node2.run("ip", "link", "set", "link0", "up")
            terminal.wait_for(without=["NOT ALIVE"])

            first.signal(signal.SIGKILL)
            first.ended()
            terminal.wait_for("THE DAEMON DOES NOT ANSWER", "Below is what it said")
            node1.daemon().serves()
            terminal.wait_for("alive", without=["DOES NOT ANSWER"])
            terminal.press("q")
            expect_equal(terminal.ended(), 0, "the exit status")
            expect(terminal.is_given_back(), "the terminal is given back")


def take_picture(terminal):
    picture = svg(terminal.screen)
    expect(len(picture) < LARGEST_PICTURE, "the picture is small")
    directory = os.environ.get("KORAHA_PICTURES")
    if directory:
        Path(directory).mkdir(parents=True, exist_ok=True)
        (Path(directory) / "watch.svg").write_text(picture)
