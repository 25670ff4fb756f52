# SPDX-License-Identifier: Apache-2.0
"""A copy of the tree in which one fault at a time is built and tested."""

import os
import pathlib
import re
import shutil
import subprocess

SECONDS_FOR_A_BUILD = 1200
SECONDS_FOR_A_TEST = "60"
TESTS_AT_ONCE = "6"  # the long ones only wait


def tracked_files(root):
    listed = subprocess.run(
        ["git", "ls-files", "-z"], cwd=root, check=True, capture_output=True, text=True
    )
    return [name for name in listed.stdout.split("\0") if name and (root / name).is_file()]


class Workshop:
    """One worker's copy, kept from run to run so that only what changed is built again."""

    def __init__(self, root, place):
        self.root = root
        self.place = place
        self.environment = dict(
            os.environ,
            CCACHE_BASEDIR=str(place),
            CCACHE_NOHASHDIR="true",
            GTEST_COLOR="no",
        )

    def prepare(self):
        """Brings the copy up to date and builds it. Its tests must pass: else ValueError."""
        self.copy()
        # A fault may leave something unused: warnings are off. Nobody debugs these programs.
        flags = ["-DCMAKE_CXX_FLAGS=-w", "-DCMAKE_CXX_FLAGS_DEBUG=-O0"]
        self.must(["cmake", "--preset", "debug", *flags])
        self.build(os.cpu_count() or 1)
        failing = self.failing_test()
        if failing:
            raise ValueError(f"{failing} fails without a fault")

    def copy(self):
        names = set(tracked_files(self.root))
        self.place.mkdir(parents=True, exist_ok=True)
        for path in self.place.rglob("*"):
            name = path.relative_to(self.place)
            if name.parts[0] != "build" and path.is_file() and str(name) not in names:
                path.unlink()
        for name in names:
            source, target = self.root / name, self.place / name
            if not target.exists() or target.read_bytes() != source.read_bytes():
                target.parent.mkdir(parents=True, exist_ok=True)
                shutil.copy(source, target)

    def caught_by(self, mutation):
        """The first test that fails with this fault in the tree; None when all pass. Raises what
        Mutation.apply raises, and ValueError when it cannot be built or tested."""
        path = self.place / mutation.file
        sound = path.read_text()
        path.write_text(mutation.apply(sound))
        try:
            self.build()
            return self.failing_test()
        finally:
            path.write_text(sound)

    def build(self, jobs=1):
        self.must(
            ["cmake", "--build", "build/debug", "--target", "daemon_tests", "-j", str(jobs)]
        )

    def must(self, command):
        done = self.run(command, SECONDS_FOR_A_BUILD)
        if done.returncode != 0:
            raise ValueError(done.stdout)

    def failing_test(self):
        """The name of the first test that fails, and fails again when it is run alone: a test that
        the machine was too busy for once has noticed nothing."""
        for _ in range(3):
            number, name = self.first_failure()
            if number is None or self.first_failure("-I", f"{number},{number}")[0]:
                return name
        return None

    def first_failure(self, *selection):
        tested = self.run(
            ["ctest", "--test-dir", "build/debug", "-L", "^daemon$", "--no-tests=error"]
            + ["-j", TESTS_AT_ONCE, "--stop-on-failure", "--timeout", SECONDS_FOR_A_TEST]
            + list(selection),
            SECONDS_FOR_A_BUILD,
        )
        if tested.returncode == 0:
            return None, None
        failed = re.search(r"Test +#(\d+): (\S+).*\*\*\*", tested.stdout)
        if not failed:
            raise ValueError(tested.stdout)
        return failed.groups()

    def run(self, command, seconds):
        return subprocess.run(
            command,
            cwd=self.place,
            env=self.environment,
            stdin=subprocess.DEVNULL,
            stdout=subprocess.PIPE,
            stderr=subprocess.STDOUT,
            text=True,
            errors="replace",
            timeout=seconds,
            check=False,
        )


def workshops(root, count):
    return [Workshop(root, pathlib.Path(root, "build", "mutate", str(i))) for i in range(count)]
