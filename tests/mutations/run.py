# SPDX-License-Identifier: Apache-2.0
"""Shows that the tests catch every fault of the tables. See scripts/mutate."""

import concurrent.futures
import os
import pathlib
import queue
import subprocess
import sys
import time

from mutation import Mistake, read_table
from workshop import workshops

HERE = pathlib.Path(__file__).resolve().parent
ROOT = HERE.parent.parent
STARTED = time.monotonic()


def say(text):
    print(f"[{time.monotonic() - STARTED:3.0f}s] {text}", flush=True)


def verdict(mutation, free):
    """Whether the fault was caught, and what to say of it."""
    workshop = free.get()
    try:
        test = workshop.caught_by(mutation)
    except Mistake as mistake:
        return False, f"does not apply any more: {mistake}"
    except (ValueError, subprocess.TimeoutExpired) as error:
        return False, f"cannot be built or tested:\n{str(error)[-3000:]}"
    finally:
        free.put(workshop)
    return (True, f"caught by {test}") if test else (False, "SURVIVED: no test noticed it")


def judge_all(mutations, free, workers):
    passed = 0
    with concurrent.futures.ThreadPoolExecutor(workers) as pool:
        verdicts = [(each, pool.submit(verdict, each, free)) for each in mutations]
        for mutation, pending in verdicts:
            caught, why = pending.result()
            passed += caught
            say(f"{'ok  ' if caught else 'FAIL'} {mutation}: {why}")
    return passed


def main(words):
    tables = sorted(HERE.glob("*.txt"))
    mutations = [m for table in tables for m in read_table(table) if m.matches(words)]
    workers = max(1, min(os.cpu_count() or 1, len(mutations)))
    free = queue.Queue()
    say(f"building {workers} copies and running their tests without a fault")
    for workshop in workshops(ROOT, workers):
        try:
            workshop.prepare()
        except (ValueError, subprocess.TimeoutExpired) as error:
            say(f"FAIL the tree itself:\n{str(error)[-3000:]}")
            print(f"0 passed, {len(mutations) or 1} failed")
            return 1
        free.put(workshop)
    passed = judge_all(mutations, free, workers)
    failed = len(mutations) - passed
    print(f"{passed} passed, {failed} failed")
    return 0 if passed and not failed else 1


if __name__ == "__main__":
    sys.exit(main(sys.argv[1:]))
