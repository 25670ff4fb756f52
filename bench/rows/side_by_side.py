# SPDX-License-Identifier: Apache-2.0
"""All programs at the same time: what they cost a node in memory, processor time and wake-ups."""

import time

from frame import Comparison, Count, Shown, median, status_field
from frame.crew import crew

WINDOWS = 3
SECONDS = 60

FLOOR = """VmLck of the process. The reference links the same libraries, locks its memory, has one
malloc arena and starts eight threads with the same stacks, and does nothing."""
RESIDENT = """VmRSS, summed over the processes of a program, after a minute of default intervals
with a live peer. All programs are those of the distribution with the least configuration that
watches one peer over one link."""
OVER_TIME = """Default intervals, a live peer, an idle log, in the same three windows of 60 s for
all programs. Processor time is what the kernel's scheduler counted for all threads; a wake-up is a
voluntary context switch. The skeleton makes the same probes (echoes, kernel files, an exchange with
the peer each way, the two serving waits, the records) at the same paces with the least code: it
understands nothing of what it reads and proves nothing to its peer. monit checks every 30 s, as
well as it can, what the daemon checks every 5 to 60 s: peer, link, file system and memory by
itself, arrays and mirror through a program, because it knows neither."""


def windows(members):
    """CPU milliseconds and wake-ups of each member in each window."""
    cpu = {name: [] for name in members}
    wakes = {name: [] for name in members}
    for _ in range(WINDOWS):
        before = {name: (each.cpu(), each.wakes()) for name, each in members.items()}
        time.sleep(SECONDS)
        for name, each in members.items():
            cpu[name].append((each.cpu() - before[name][0]) / 1e6)
            wakes[name].append(each.wakes() - before[name][1])
    return cpu, wakes


def rows(machine):
    with crew(machine) as (members, _, daemon):
        cpu, wakes = windows(members)
        locked = {name: [each.locked()] for name, each in members.items()}
        resident = {name: [each.resident()] for name, each in members.items()}
        threads = status_field(daemon.pid, "Threads")

    def against(kind, name, figures, unit, how, other, **bound):
        return kind(name, figures["ours"], unit, how, other, figures[other], **bound)

    yield against(Comparison, "locked memory", locked, "kB", FLOOR, "floor", most=1.2)
    yield against(Comparison, "resident memory", resident, "kB", RESIDENT, "keepalived", most=0.65)
    for other in ("floor", "corosync", "monit", "node_exporter"):
        yield against(Shown, f"resident memory, {other}", resident, "kB", RESIDENT, other)
    yield Count("threads", [threads], "", RESIDENT, most=9, least=9)
    for other, bound in (("skeleton", 1.3), ("monit", 1.0), ("corosync", 0.06)):
        name = f"processor time in 60 s, {other}"
        yield against(Comparison, name, cpu, "ms", OVER_TIME, other, most=bound)
    yield against(Shown, "processor time in 60 s, keepalived", cpu, "ms", OVER_TIME, "keepalived")
    yield against(
        Comparison, "wake-ups in 60 s, skeleton", wakes, "", OVER_TIME, "skeleton", most=1.2
    )
    for other in ("corosync", "keepalived", "monit"):
        yield against(Shown, f"wake-ups in 60 s, {other}", wakes, "", OVER_TIME, other)
    share = [ms / (SECONDS * 10) for ms in cpu["ours"]]
    yield Shown("share of a core", [median(share)], "%", OVER_TIME)

