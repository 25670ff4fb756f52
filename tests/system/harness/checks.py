# SPDX-License-Identifier: Apache-2.0
"""Checks. Waiting is always for a condition, with a deadline that only a broken program misses."""

import time

PATIENCE_SECONDS = 60


class CaseFailed(Exception):
    """What was expected did not happen."""


def expect(condition, what):
    if not condition:
        raise CaseFailed(what)


def expect_equal(got, wanted, what):
    if got != wanted:
        raise CaseFailed(f"{what}:\n  wanted {wanted!r}\n  got    {got!r}")


def eventually(what, condition, seconds=PATIENCE_SECONDS, step=0.1):
    """Waits until the condition yields something true, and returns that; looks every `step` seconds."""
    deadline = time.monotonic() + seconds
    while True:
        outcome = condition()
        if outcome:
            return outcome
        if time.monotonic() > deadline:
            raise CaseFailed(f"did not happen within {seconds} s: {what}")
        time.sleep(step)
