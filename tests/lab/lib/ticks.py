# SPDX-License-Identifier: Apache-2.0
"""How fast the time stamp counter runs: a guest that is starved while it measures that gets it wrong, and
its clocks then run at twice the speed or more."""

import ctypes
import functools
import mmap
import time

RDTSC = bytes([0x0F, 0x31, 0x48, 0xC1, 0xE2, 0x20, 0x48, 0x09, 0xD0, 0xC3])  # rdtsc; rax |= rdx << 32; ret


def counter():
    code = mmap.mmap(-1, mmap.PAGESIZE, prot=mmap.PROT_READ | mmap.PROT_WRITE | mmap.PROT_EXEC)
    code.write(RDTSC)
    read = ctypes.CFUNCTYPE(ctypes.c_uint64)(ctypes.addressof(ctypes.c_char.from_buffer(code)))
    read.code = code  # lives as long as what runs it
    return read


def both_clocks(read):
    """The counter and the nanosecond it was read at, from the try that was disturbed least."""
    tries = [(time.monotonic_ns(), read(), time.monotonic_ns()) for _ in range(50)]
    before, ticks, after = min(tries, key=lambda each: each[2] - each[0])
    return ticks, (before + after) / 2


@functools.cache
def per_millisecond():
    read = counter()
    ticks, at = both_clocks(read)
    time.sleep(0.2)
    more, later = both_clocks(read)
    return round((more - ticks) * 1e6 / (later - at))
