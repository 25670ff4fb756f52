# SPDX-License-Identifier: Apache-2.0
"""Faults as the tables list them, and how one is put into a file.

A fault is written like a small diff, stripped of its line numbers, and ends at an empty line:

    monitor/interval.cpp: a task rests one pass too long
    -    if (task->second >= rest) {
    +    if (task->second > rest) {

Lines that begin with a blank stay as they are and only say where. Indentation does not count. The
lines must be found exactly once: a fault that no longer applies is a failure, not a silent pass.
"""

import dataclasses


class Mistake(Exception):
    """A fault that cannot be read or put in."""


@dataclasses.dataclass(frozen=True)
class Mutation:
    file: str
    description: str
    diff: tuple

    def __str__(self):
        return f"{self.file}: {self.description}"

    def matches(self, words):
        return not words or any(word in str(self) for word in words)

    def apply(self, text):
        """The text with the fault in it."""
        lines = text.splitlines()
        wanted = [line[1:].strip() for line in self.diff if line[0] in " -"]
        stripped = [line.strip() for line in lines]
        places = [
            at
            for at in range(len(lines) - len(wanted) + 1)
            if stripped[at : at + len(wanted)] == wanted
        ]
        if len(places) != 1:
            raise Mistake(f"its lines occur {len(places)} times")
        at = places[0]
        lines[at : at + len(wanted)] = [line[1:] for line in self.diff if line[0] in " +"]
        return "\n".join(lines) + "\n"


def read_table(path):
    """The faults of one table, in order."""
    for paragraph in path.read_text().split("\n\n"):
        lines = [line for line in paragraph.splitlines() if line and not line.startswith("#")]
        if not lines:
            continue
        file, colon, description = lines[0].partition(": ")
        diff = tuple(lines[1:])
        kinds = {line[0] for line in diff}
        if not colon or not kinds & {"-", "+"} or not kinds & {"-", " "} or kinds - set(" -+"):
            raise Mistake(f"{path}: not a fault: {lines[0]}")
        yield Mutation(file, description, diff)
