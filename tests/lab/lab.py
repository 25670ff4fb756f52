# SPDX-License-Identifier: Apache-2.0
"""Runs scenarios on pairs of real kernels. See scripts/lab."""

import argparse
import importlib.util
import os
import pathlib
import shutil
import signal
import sys
import time
import traceback

HERE = pathlib.Path(__file__).resolve().parent
sys.path.insert(0, str(HERE))

from lib import host, jobs, kernel, system  # noqa: E402
from lib.machine import has_kvm  # noqa: E402
from lib.pair import Pair  # noqa: E402


def load(path):
    spec = importlib.util.spec_from_file_location(path.stem, path)
    module = importlib.util.module_from_spec(spec)
    spec.loader.exec_module(module)
    return module


def scenarios():
    return {path.stem: load(path) for path in sorted((HERE / "scenarios").glob("*.py"))}


def places(options):
    """Where the parts of all pairs are, once they are prepared."""
    cache = options.cache.resolve()
    return {"kernel": cache / "kernel", "initramfs": str(cache / "initramfs.cpio"), "guest": HERE / "guest",
            "build": options.build.resolve(), "scratch": options.scratch, "accelerator": "tcg"}


def prepare(paths, whole_system):
    cache = paths["kernel"].parent
    cache.mkdir(parents=True, exist_ok=True)
    with host.alone(cache):
        kernel.unpack(cache)
        kernel.initramfs(paths["kernel"], paths["guest"], cache / "initramfs.cpio")
        if whole_system:
            system.prepare(HERE.parent.parent, cache)
        accelerator(paths, cache)


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
        pair = (system.SystemPair if getattr(module, "SYSTEM", False) else Pair)(paths, results)
        if getattr(module, "BOOT", True):
            pair.boot()
        module.run(pair)
        verdict = None
    except Exception as problem:
        verdict = problem if str(problem) else traceback.format_exc()
        if pair:
            pair.collect(name)
    finally:
        if pair and keep:
            offer_shell(pair)
        if pair:
            pair.close()
    seconds = time.monotonic() - began
    print(f"{'ok  ' if verdict is None else 'FAIL'} {name}: "
          f"{(module.__doc__ or '').strip().splitlines()[0]} ({seconds:.0f} s)")
    for fact in pair.facts if pair else []:
        print(f"       {fact}")
    if verdict is not None:
        print("       " + str(verdict).replace("\n", "\n       "))
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


def parse():
    parser = argparse.ArgumentParser(prog="scripts/lab", description=__doc__)
    parser.add_argument("names", nargs="*", help="scenarios to run; none: all of them")
    parser.add_argument("--list", action="store_true", help="list the scenarios and stop")
    parser.add_argument("--quick", action="store_true", help="only the quick set")
    parser.add_argument("--keep", action="store_true", help="keep the last pair up, with a shell; one job")
    parser.add_argument("--jobs", type=int, default=jobs.default_jobs(),
                        help="so many scenarios side by side (%(default)s)")
    parser.add_argument("--cache", type=pathlib.Path, required=True, help=argparse.SUPPRESS)
    parser.add_argument("--build", type=pathlib.Path, required=True, help=argparse.SUPPRESS)
    parser.add_argument("--scratch", type=pathlib.Path, help=argparse.SUPPRESS)  # told to run one alone
    return parser, parser.parse_args()


def command(options):
    """What has one scenario run by a process of its own."""
    words = [sys.executable, __file__, "--cache", options.cache, "--build", options.build, "--scratch",
             options.scratch]
    return lambda name: words + (["--keep"] if options.keep and name == options.names[-1] else []) + [name]


def run_all(options, known):
    """How many of the scenarios passed."""
    def marked(mark):
        return [name for name in options.names if getattr(known[name], mark, False)]

    options.scratch = jobs.new_scratch()
    running = jobs.Jobs(command(options), options.scratch, 1 if options.keep else max(1, options.jobs))
    try:
        prepare(places(options), marked("SYSTEM"))
        running.run(options.names[:-1] if options.keep else options.names, marked("ALONE"))
        if options.keep:
            running.kept(options.names[-1])
        return running.passed
    finally:
        running.end()
        shutil.rmtree(options.scratch, ignore_errors=True)


def main():
    parser, options = parse()
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
    results = options.cache / "results"
    if options.scratch:
        paths = places(options)
        paths["accelerator"] = accelerator(paths, options.cache)
        return 0 if run_one(options.names[0], known[options.names[0]], paths, results, options.keep) else 1

    options.names = options.names or [name for name, module in known.items()
                                      if not options.quick or getattr(module, "QUICK", False)]
    # SIGINT, too: a shell has what it starts in the background ignore that.
    for number in (signal.SIGTERM, signal.SIGHUP, signal.SIGINT):
        signal.signal(number, lambda number, _: sys.exit(128 + number))
    jobs.sweep()
    passed = run_all(options, known)
    failed = len(options.names) - passed
    if failed:
        print(f"What the failed ones left is under {os.path.relpath(results)}")
    print(f"{passed} passed, {failed} failed")
    return 1 if failed else 0


if __name__ == "__main__":
    try:
        sys.exit(main())
    except KeyboardInterrupt:
        sys.exit(130)
