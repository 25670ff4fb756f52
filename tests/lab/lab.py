# SPDX-License-Identifier: Apache-2.0
"""Runs scenarios on pairs of real kernels. See scripts/lab."""

import argparse
import importlib.util
import os
import pathlib
import signal
import sys
import time
import traceback

HERE = pathlib.Path(__file__).resolve().parent
sys.path.insert(0, str(HERE))

from lib import kernel  # noqa: E402
from lib.machine import has_kvm  # noqa: E402
from lib.pair import Pair, sweep  # noqa: E402
from lib.system import SystemPair  # noqa: E402


def load(path):
    spec = importlib.util.spec_from_file_location(path.stem, path)
    module = importlib.util.module_from_spec(spec)
    spec.loader.exec_module(module)
    return module


def scenarios():
    return {path.stem: load(path) for path in sorted((HERE / "scenarios").glob("*.py"))}


def prepare(cache, build):
    root = kernel.unpack(cache)
    archive = cache / "initramfs.cpio"
    kernel.initramfs(root, HERE / "guest", archive)
    paths = {"kernel": root, "initramfs": str(archive), "guest": HERE / "guest", "build": build}
    paths["accelerator"] = accelerator(paths, cache)
    return paths


def accelerator(paths, cache):
    """KVM where a guest really boots under it, which nested virtualisation does not promise."""
    if not has_kvm():
        return "tcg"
    remembered = cache / "accelerator"
    if not remembered.exists():
        pair = Pair({**paths, "accelerator": "kvm"}, cache)
        try:
            remembered.write_text("kvm" if pair.trial_boot(20) else "tcg")
        finally:
            pair.close()
    return remembered.read_text()


def run_one(name, module, paths, results, keep):
    pair = None
    began = time.monotonic()
    try:
        pair = (SystemPair if getattr(module, "SYSTEM", False) else Pair)(paths, results)
        if getattr(module, "BOOT", True):
            pair.boot()
        module.run(pair)
        verdict = None
    except (Exception, KeyboardInterrupt) as problem:
        verdict = problem if str(problem) else traceback.format_exc()
        if pair:
            pair.collect(name)
        if isinstance(problem, KeyboardInterrupt):
            raise
    finally:
        if pair and keep:
            offer_shell(pair)
        if pair:
            pair.close()
    seconds = time.monotonic() - began
    print(f"{'ok  ' if verdict is None else 'FAIL'} {name}: "
          f"{(module.__doc__ or '').strip().splitlines()[0]} ({seconds:.0f} s)", flush=True)
    for fact in pair.facts if pair else []:
        print(f"       {fact}", flush=True)
    if verdict is not None:
        print("       " + str(verdict).replace("\n", "\n       "), flush=True)
    return verdict is None


def offer_shell(pair):
    print("The nodes stay up. Type 'N COMMAND' (N: 1 or 2); an empty line ends them.", flush=True)
    for line in sys.stdin:
        number, _, command = line.strip().partition(" ")
        if not number:
            return
        if number not in ("1", "2") or not command:
            print("N COMMAND, N being 1 or 2")
            continue
        try:
            print(pair.nodes[int(number) - 1].run(command, check=False), flush=True)
        except Exception as problem:
            print(problem, flush=True)


def main():
    parser = argparse.ArgumentParser(prog="scripts/lab", description=__doc__)
    parser.add_argument("names", nargs="*", help="scenarios to run; none: all of them")
    parser.add_argument("--list", action="store_true", help="list the scenarios and stop")
    parser.add_argument("--quick", action="store_true", help="only the quick set")
    parser.add_argument("--keep", action="store_true", help="keep the last pair up, with a shell")
    parser.add_argument("--cache", type=pathlib.Path, required=True, help=argparse.SUPPRESS)
    parser.add_argument("--build", type=pathlib.Path, required=True, help=argparse.SUPPRESS)
    options = parser.parse_args()

    known = scenarios()
    if options.list:
        for name, module in known.items():
            mark = "*" if getattr(module, "QUICK", False) else " "
            print(f"{mark} {name}: {(module.__doc__ or '').strip().splitlines()[0]}")
        print("(* in the quick set)")
        return 0
    unknown = [name for name in options.names if name not in known]
    if unknown:
        parser.error("no such scenario: " + ", ".join(unknown))
    chosen = options.names or [name for name, module in known.items()
                               if not options.quick or getattr(module, "QUICK", False)]

    for number in (signal.SIGTERM, signal.SIGHUP):
        signal.signal(number, lambda *_: sys.exit(143))
    sweep()
    options.cache.mkdir(parents=True, exist_ok=True)
    results = options.cache / "results"
    paths = prepare(options.cache.resolve(), options.build.resolve())
    passed = 0
    for name in chosen:
        passed += run_one(name, known[name], paths, results, options.keep and name == chosen[-1])
    failed = len(chosen) - passed
    if failed:
        print(f"What the failed ones left is under {os.path.relpath(results)}")
    print(f"{passed} passed, {failed} failed")
    return 1 if failed else 0


if __name__ == "__main__":
    sys.exit(main())
