# SPDX-License-Identifier: Apache-2.0
"""What the daemon's own record tells of its loops and samples."""

import time

from lib.host import LabError
from lib.pair import MEASURING

# What one pass of the loop that takes a reading may wait for, in seconds.
BUSY_FLAG_PASS = {"remoteAlive": 1.0, "drbdConnected": 1.0}
CHECK_PASS = {"localDiskErrHandling": 1.0, "remoteDiskErrHandling": 1.0, "remoteMDResync": 1.0,
              "hbLatency": 1.5, "netNonOkRate": 1.5, "localMDResync": 1.5}
OF_THE_PEER = ("remoteDiskErrHandling", "remoteMDResync", "hbLatency", "netNonOkRate")


def oldest_allowed(pace):
    """By reading, how old its last attempt may be: the pace of its loop, a pass, what looking costs."""
    return {**{name: 1 + longest + MEASURING for name, longest in BUSY_FLAG_PASS.items()},
            **{name: pace + longest + MEASURING for name, longest in CHECK_PASS.items()}}


def no_stall(nodes, seconds, pace=1, resting=()):
    """Looks at all readings, for `seconds`: the loops of each node must go on taking them, but for those
    that are `resting`. `pace` is that of the check loops. The greatest age seen."""
    allowed = {name: age for name, age in oldest_allowed(pace).items() if name not in resting}
    oldest = 0.0
    end = time.monotonic() + seconds
    while time.monotonic() < end:
        for node in nodes:
            readings = node.status(patience=MEASURING)["readings"]
            ages = {name: readings[name]["attemptAgeSeconds"] for name in allowed}
            late = {name: age for name, age in ages.items() if age is None or age > allowed[name]}
            if late:
                raise LabError(f"node{node.number}: no attempt for too many seconds: {late}")
            oldest = max(oldest, *ages.values())
    return oldest


def violations_before(node, kind, threshold, line):
    """How many fresh samples in a row were at or over the threshold when the log's first `line` was
    written. One that equals the sample before it is not fresh."""
    written = node.line_times(line)[0]
    count, last = 0, None
    for sample in node.history()["samples"]:
        if sample["kind"] != kind or sample["at"] > written + 0.001 or sample["value"] == last:
            continue
        last = sample["value"]
        count = count + 1 if last >= threshold else 0
    return count
