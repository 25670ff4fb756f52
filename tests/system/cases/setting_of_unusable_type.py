# SPDX-License-Identifier: Apache-2.0
"""A setting of a type that cannot be a number ends the process as soon as a routine asks for it."""

import signal

from harness import SHORT_INTERVALS, expect, expect_equal, one_node

UNUSABLE = {
    "BASE_INTERVAL_LOG_WRITE": [1],
    "SIZE_MAX_OF_LOG_FILE": {"bytes": 1},
    "BASE_INTERVAL_BUSY_FLAG": 1e300,
    "TOLERANCE_TIMES_OF_HB_LATENCY": [],
}


def case(build):
    with one_node(build) as node:
        for key, value in UNUSABLE.items():
            daemon = node.daemon(settings={**SHORT_INTERVALS, key: value})
            expect_equal(daemon.ended(), -signal.SIGABRT, f"how it ends with {key}")
            expect("terminate called after throwing" in daemon.output(), "the runtime says why")
