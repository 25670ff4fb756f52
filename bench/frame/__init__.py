# SPDX-License-Identifier: Apache-2.0
"""What the rows share: running programs, taking figures by turns, and telling them."""

from .figures import Comparison, Count, Shown, alternate, median, spread
from .machine import Failed, Machine
from .programs import cpu_ns, pin, pinned, run_json, running, status_field, wake_ups

__all__ = [
    "Comparison",
    "Count",
    "Failed",
    "Machine",
    "Shown",
    "alternate",
    "wake_ups",
    "cpu_ns",
    "median",
    "pin",
    "pinned",
    "run_json",
    "running",
    "spread",
    "status_field",
]
