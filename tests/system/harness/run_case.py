# SPDX-License-Identifier: Apache-2.0
"""Runs one case: run_case.py FILE BUILD_DIR. Exit status 0 passed, 1 failed, 77 skipped."""

import importlib.util
import signal
import sys
import traceback
from pathlib import Path

SKIPPED = 77

sys.path.insert(0, str(Path(__file__).resolve().parents[1]))

from harness import has_sanitizer  # noqa: E402 (the path comes first)


def load(file):
    spec = importlib.util.spec_from_file_location("case", file)
    module = importlib.util.module_from_spec(spec)
    spec.loader.exec_module(module)
    return module


def hear_all_signals():
    """A shell starts what runs in its background with some signals ignored, and so would each daemon be."""
    signal.signal(signal.SIGINT, signal.default_int_handler)
    for number in (signal.SIGHUP, signal.SIGQUIT, signal.SIGTERM, signal.SIGTSTP):
        signal.signal(number, signal.SIG_DFL)


def main(file, build):
    hear_all_signals()
    module = load(file)
    reason = getattr(module, "NOT_WITH_SANITIZERS", None)
    if reason and has_sanitizer(build):
        print(f"not with sanitizers: {reason}")
        return SKIPPED
    try:
        module.case(build)
    except Exception:  # whatever went wrong, the case has failed
        traceback.print_exc(file=sys.stdout)
        return 1
    return 0


if __name__ == "__main__":
    sys.exit(main(*sys.argv[1:]))
