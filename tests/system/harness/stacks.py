# SPDX-License-Identifier: Apache-2.0
"""How deep each routine's stack has ever been, read from outside.

The memory of a new stack is zero, and nothing clears what a call has left behind: the lowest byte
that is not zero tells how deep the deepest call went."""

from pathlib import Path

STACK_BYTES = 81920

# Threads start in the order of the routine table.
ROUTINES = (
    "logHandler",
    "recordSystemInfo",
    "server",
    "busyFlagControl",
    "nonBlockCheck",
    "mayBlockCheck",
    "monitorEnv",
    "daemonDataServer",
)


def depths(pid):
    """Bytes used of the stack of each routine."""
    threads = sorted(int(each.name) for each in Path(f"/proc/{pid}/task").iterdir())
    assert threads[0] == pid and len(threads) == len(ROUTINES) + 1, threads
    return {name: depth(pid, thread) for name, thread in zip(ROUTINES, threads[1:])}


def depth(pid, thread):
    low = stack_of(pid, stack_pointer(pid, thread))
    with open(f"/proc/{pid}/mem", "rb") as memory:
        memory.seek(low)
        stack = memory.read(STACK_BYTES)
    return len(stack.lstrip(b"\0"))


def stack_pointer(pid, thread):
    """Known while the thread waits in the kernel; one that runs is asked again."""
    while True:
        words = Path(f"/proc/{pid}/task/{thread}/syscall").read_text().split()
        if len(words) > 2:
            return int(words[-2], 16)


def stack_of(pid, pointer):
    """The low end of the stack around the pointer: right above a guard page."""
    guard_end = None
    for line in Path(f"/proc/{pid}/maps").read_text().splitlines():
        span, access, *_ = line.split()
        start, end = (int(each, 16) for each in span.split("-"))
        if access.startswith("---"):
            guard_end = end
        elif start <= pointer < end:
            assert start == guard_end and pointer < start + STACK_BYTES <= end, line
            return start
    raise LookupError(f"no mapping around {pointer:#x}")
