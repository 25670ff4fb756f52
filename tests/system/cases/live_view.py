# SPDX-License-Identifier: Apache-2.0
"""The live view on a terminal: what it shows, that it survives the daemon, the keys and the sizes,
how little it sends, and that the terminal is given back however it ends."""

import signal
import tempfile
import time

from harness import expect, expect_equal
from harness.scripted_status import ScriptedStatus, well
from harness.screen import OWN_SCREEN
from harness.terminal import Terminal

TAKES_SECONDS = 35

EVIL = "\x1b]0;x\x07\x1b[2J\r\n\x9b\u202eend"


def samples():
    now = time.time()
    made = []
    for number in range(240):
        lost = 100 <= number < 104
        made.append(
            {
                "at": now - 3600 + 15 * number,
                "kind": "hbLatency",
                "value": 1500.0 if lost else 300.0 if number == 200 else 0.3,
                "sent": 5,
                "answered": 0 if lost else 5,
            }
        )
    made.append({"at": now - 1800, "kind": "netNonOkRate", "value": 0.0})
    return made


def case(build):
    with tempfile.TemporaryDirectory() as scratch:
        daemon = ScriptedStatus(f"{scratch}/socket")
        daemon.history["samples"] = samples()
        daemon.history["events"] = [{"at": time.time() - 30, "text": f"an event {EVIL}"}]
        daemon.start()
        tool = [f"{build}/bin/korahamonctl", "--socket", daemon.path, "watch"]
        shows_the_pair(tool, daemon)
        survives_the_daemon(tool, daemon)
        follows_the_size(tool)
        sends_little(tool)
        is_plain_where_told(tool)
        stops_and_goes_on(tool)
        gives_the_terminal_back(tool)
        prints_lines_where_it_cannot_draw(tool)


def shows_the_pair(tool, daemon):
    daemon.status = well(
        remoteDiskErrHandling=True, errHandlingDisksRemote=[EVIL], constraints=[f"because {EVIL}"]
    )
    with Terminal(tool) as terminal:
        terminal.wait_for("ALARM: disk error handling on the peer", "0.310 ms", "unanswered (x)")
        expect(OWN_SCREEN in terminal.screen.modes, "the view has a screen of its own")
        expect(25 not in terminal.screen.modes, "the cursor is hidden")
        rows = terminal.screen.text().splitlines()
        latency = next(row for row in rows if row.startswith("latency "))
        expect("▂" in latency and "█" in latency and "x" in latency, f"blocks in {latency!r}")
        expect(r"because \x1b]0;x\x07\x1b[2J" in terminal.screen.text(), "hostile text is escaped")
        expect((1, 31) in terminal.screen.looks(), "what is bad is red")
        terminal.press("l")
        terminal.wait_for("EVENTS", r"an event \x1b]0;x")
        terminal.press("?")
        terminal.wait_for("KEYS", "equal factors", without=["ALARM"])
        terminal.press("x")
        terminal.wait_for("ALARM", without=["KEYS"])
        terminal.press("q")
        expect_equal(terminal.ended(), 0, "the exit status of what was left by its key")
        expect(terminal.is_given_back(), "the terminal is given back")
    daemon.status = well()


def survives_the_daemon(tool, daemon):
    with Terminal(tool) as terminal:
        terminal.wait_for("ALL IS WELL")
        daemon.stop()
        terminal.wait_for("THE DAEMON DOES NOT ANSWER", "Below is what it said", "0.310 ms")
        daemon.status = well(remoteAlive=False)
        daemon.start()
        terminal.wait_for("ALARM: peer not alive", without=["DOES NOT ANSWER"])
        daemon.silent = True
        terminal.wait_for("DOES NOT ANSWER: no complete reply within 3 s")
        began = time.monotonic()
        terminal.press("q")
        expect_equal(terminal.ended(), 0, "the exit status beside a daemon that hangs")
        expect(time.monotonic() - began < 10, "a daemon that hangs holds up no key")
        daemon.silent = False
        daemon.status = well()
    daemon.stop()
    with Terminal(tool) as terminal:
        terminal.wait_for("DOES NOT ANSWER", "refused", "DRBD        unknown")
        daemon.start()
        terminal.wait_for("ALL IS WELL", "0.310 ms")


def follows_the_size(tool):
    with Terminal(tool) as terminal:
        terminal.wait_for("ALL IS WELL", "q quit   ? what")
        terminal.resize(40, 10)
        terminal.wait_for("ALL IS WELL", "q quit  ? help", "heartbeat 0.310", "latency")
        terminal.resize(200, 60)
        terminal.wait_for("ALL IS WELL", "30 s a block", "too many from 0.001")
        expect(terminal.screen.lines()[59].startswith(" q quit"), "the keys are in the last line")
        terminal.resize(3, 2)
        terminal.wait_for(without=["WELL"])
        terminal.resize(80, 24)
        terminal.wait_for("ALL IS WELL", "1 min a block")


def sends_little(tool):
    with Terminal(tool) as terminal:
        terminal.wait_for("ALL IS WELL", "0.310 ms", "unanswered (x)")
        terminal.read(1)
        before = terminal.screen.bytes
        seconds = 4
        terminal.read(seconds)
        each = (terminal.screen.bytes - before) / seconds
        print(f"figure: the live view sends {each:.0f} bytes a second while nothing happens")
        expect(0 < each < 400, f"{each} bytes a second are few")


def is_plain_where_told(tool):
    with Terminal(tool, LC_ALL="C", NO_COLOR="1") as terminal:
        terminal.wait_for("ALL IS WELL", "unanswered (x)")
        expect(terminal.screen.text().isascii(), "only ASCII where the locale has no UTF-8")
        rows = terminal.screen.text().splitlines()
        latency = next(row for row in rows if row.startswith("latency "))
        expect("x" in latency and "#" in latency and "-" in latency, f"heights in {latency!r}")
        numbers = {number for look in terminal.screen.looks() for number in look}
        expect(numbers <= {1, 7}, f"no colours: {numbers}")


def stops_and_goes_on(tool):
    """With the shell's part played here: it takes the terminal back and changes its modes."""
    with Terminal(["bash", "-c", 'set -m; "$@"; echo stopped; sleep 5; fg > /dev/null', "bash",
                   *tool]) as terminal:
        terminal.wait_for("ALL IS WELL", "0.310 ms")
        terminal.press("\x1a")
        terminal.wait_for("stopped", without=["ALL IS WELL"])
        expect(OWN_SCREEN not in terminal.screen.modes, "the screen is given back while it is stopped")
        terminal.wait_for("ALL IS WELL", "0.310 ms")
        expect(OWN_SCREEN in terminal.screen.modes, "it goes on with a screen of its own")
        terminal.press("q")
        expect_equal(terminal.ended(), 0, "the shell's exit status")
        expect(terminal.is_given_back(), "the terminal is given back")


def gives_the_terminal_back(tool):
    for number in (signal.SIGTERM, signal.SIGINT, signal.SIGHUP, signal.SIGQUIT, signal.SIGSEGV,
                   signal.SIGABRT):
        with Terminal(tool) as terminal:
            terminal.wait_for("ALL IS WELL")
            terminal.process.send_signal(number)
            expect_equal(terminal.ended(), -number, "the end by the signal")
            expect(terminal.is_given_back(), f"the terminal is given back by {number.name}")
    with Terminal(tool) as terminal:
        terminal.wait_for("ALL IS WELL")
        terminal.press("\x03")
        expect_equal(terminal.ended(), -signal.SIGINT, "the end by ^C")
        expect(terminal.is_given_back(), "the terminal is given back by ^C")


def prints_lines_where_it_cannot_draw(tool):
    with Terminal(tool, TERM="dumb", width=300) as terminal:
        terminal.wait_for("no screen to draw on", "active; peer: alive; DRBD: connected")
        expect_equal(terminal.screen.modes, set(), "modes")
    with Terminal([*tool, "--lines"], width=300) as terminal:
        terminal.wait_for("active; peer: alive; DRBD: connected")
    with Terminal([*tool, "--json"], width=2000) as terminal:
        terminal.wait_for('"softwareVersion": "1.0.0"}')
