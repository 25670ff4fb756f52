# SPDX-License-Identifier: Apache-2.0
"""The peer is reset: its flag is lowered after two samples and raised when it is back."""

import time

QUICK = True

FLAG = "koraharemotemond:{} {} flag: /tmp/ha/ha_remote_busy"


def run(pair):
    first, second = pair
    pair.start_daemons()
    second.until_log(FLAG.format(87, "Create"))
    seen = second.awaiting_log(FLAG.format(94, "Delete"))
    event = time.monotonic()
    first.reset()
    took = seen.since(event)
    pair.timed("peer reset, flag lowered and logged", took, 2 * (1 + 1) + 1)
    seen = second.awaiting_log(FLAG.format(87, "Create"), 2)
    first.wait_boot(60)
    took = seen.since(time.monotonic())
    pair.timed("peer up again, flag raised and logged", took, 1 + 1 + 1)
