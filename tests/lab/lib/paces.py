# SPDX-License-Identifier: Apache-2.0
"""What the paces, all of one second here, and the bounds of the probes allow from an event to the status."""

RENDERED = 1
EXCHANGED = 1 + 1  # the peer's loop asks, and has its answer
DRBD = 1 + 1 + RENDERED
LOCAL = 1 + 1.5 + RENDERED  # behind a measurement of the latency
REMOTE = LOCAL + EXCHANGED
CONSTRAINT = 5 + RENDERED
