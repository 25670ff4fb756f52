# SPDX-License-Identifier: Apache-2.0
"""The peer is reset: its flag is lowered after two samples and raised when it is back."""

import time

QUICK = True
PACE = 4  # one sample and two cannot be mistaken for each other
FLAG = "/tmp/ha/ha_remote_busy"
CREATE = f"koraharemotemond:87 Create flag: {FLAG}"
DELETE = f"koraharemotemond:94 Delete flag: {FLAG}"
IS_UP = f"__import__('os').path.exists('{FLAG}')"


def lines(node):
    """What the log says of flags, without the stamps."""
    return [line.split("Z ", 1)[1] for line in node.log().split("\n") if " flag: " in line]


def run(pair):
    first, second = pair
    pair.start_daemons(settings={"BASE_INTERVAL_BUSY_FLAG": PACE})
    second.until_log(CREATE)
    second.run(f"test -e {FLAG}")

    missed = second.awaiting(f"not s['remoteAlive'] and {IS_UP}")
    lowered = second.awaiting_log(DELETE)
    event = time.monotonic()
    first.reset()
    pair.note(f"the reset itself, which is counted below: {time.monotonic() - event:.1f} s")
    first.freeze()  # it would be back before the second sample
    took = missed.after(event)
    pair.timed("peer reset, one sample: not alive, the flag still up", took, PACE + 1 + 1)
    took = lowered.after(event)
    pair.timed("two samples: flag lowered and logged", took, 2 * (PACE + 1) + 1)
    second.run(f"test ! -e {FLAG}")
    sample = [each["at"] for each in second.history()["events"] if each["text"] == "the peer is not alive"]
    apart = second.line_times(DELETE)[0] - sample[-1]
    assert len(sample) == 1 and apart >= PACE, (sample, apart)
    pair.note(f"the flag was lowered {apart:.1f} s after the first sample, at a pace of {PACE} s")

    raised = second.awaiting_log(CREATE, 2)
    first.thaw()
    first.wait_boot(60)
    took = raised.since(time.monotonic())  # its kernel answers before the node is set up
    pair.timed("peer up again, flag raised and logged", took, PACE + 1 + 1)
    second.run(f"test -e {FLAG}")
    assert lines(second) == [CREATE, DELETE, CREATE], lines(second)
