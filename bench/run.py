#!/usr/bin/env python3
# SPDX-License-Identifier: Apache-2.0
"""Runs the rows, prints the table and writes results.json: see scripts/bench."""

import importlib
import json
import sys
import time
import traceback
from datetime import date

from frame import Machine
from frame.machine import ROOT
from frame.table import for_docs, for_terminal

# In this order: first what is disturbed easily.
ALL = [
    "status_requests",
    "whole_processes",
    "log_lines",
    "kernel_files",
    "records",
    "heartbeat",
    "start_up",
    "memory",
    "side_by_side",
    "outages",
]
QUICK = ["counts"]
DOCS = ROOT / "docs" / "performance.md"
BEGIN = "<!-- table: written by scripts/bench --write-docs -->\n"
END = "<!-- end of table -->\n"


def measure(names, machine):
    """Returns the rows as JSON, and what could not be measured."""
    rows = []
    broken = []
    for name in names:
        started = time.monotonic()
        try:
            found = importlib.import_module(f"rows.{name}").rows(machine)
            for row in found:
                rows.append(row.as_json())
        except Exception as failure:  # one family that breaks must not hide the others
            traceback.print_exc()
            broken.append(f"{name}: {failure}")
        print(f"[{time.monotonic() - started:4.0f} s] {name}", flush=True)
    return rows, broken


def write_docs(results):
    text = DOCS.read_text()
    head, rest = text.split(BEGIN)
    tail = rest.split(END)[1]
    DOCS.write_text(head + BEGIN + "\n" + for_docs(results) + "\n" + END + tail)


def main(arguments):
    machine = Machine()
    wanted = [each for each in arguments if not each.startswith("--")]
    names = QUICK if "--quick" in arguments else wanted or ALL
    rows, broken = measure(names, machine)
    results = {
        "date": date.today().isoformat(),
        "machine": machine.description(),
        "rows": rows,
        "broken": broken,
    }
    file = machine.results / ("quick.json" if "--quick" in arguments else "results.json")
    file.write_text(json.dumps(results, indent=1) + "\n")
    print()
    print(for_terminal(rows))
    print()
    if "--write-docs" in arguments:
        write_docs(results)
    missed = [row["row"] for row in rows if row["met"] is False]
    for name in missed:
        print(f"goal not met: {name}")
    for each in broken:
        print(f"not measured: {each}")
    if not missed and not broken:
        print("every goal is met")
    return 0 if not missed and not broken else 1


if __name__ == "__main__":
    sys.exit(main(sys.argv[1:]))
