# SPDX-License-Identifier: Apache-2.0
"""Line coverage of the parsers that a fuzz target names, after one run of it.

A target names each of its parsers in a line of its own:
    // parser: PATH [without FUNCTION...]
where the functions left out are those that do other things than parsing. Ends with 1 when a parser
is covered to less than 95 %.
"""
import os
import re
import subprocess
import sys

ENOUGH = 0.95


def named_parsers(source):
    pattern = re.compile(r"^// parser: (\S+)(?: without (.*))?$")
    with open(source, encoding="utf-8") as text:
        for line in text:
            if found := pattern.match(line.strip()):
                yield found.group(1), (found.group(2) or "").split()


def lcov_of(binary, profile):
    merged = profile + ".merged"
    subprocess.run(["llvm-profdata", "merge", "-sparse", profile, "-o", merged], check=True)
    command = ["llvm-cov", "export", "-format=lcov", "-instr-profile=" + merged, binary]
    return subprocess.run(command, check=True, capture_output=True, text=True).stdout


def section_of(lcov, path):
    """The part about one source file, however the compiler came to name it."""
    for section in lcov.split("end_of_record\n"):
        name = section.partition("\n")[0]
        if name.startswith("SF:") and name.endswith("/" + path):
            return section
    return ""


def demangled(name):
    plain = subprocess.run(["llvm-cxxfilt", name.split(":")[-1]], capture_output=True, text=True)
    return plain.stdout.strip()


def share(section, left_out):
    """Of the lines between two function starts each belongs to the first of them."""
    starts = {}
    counts = {}
    for line in section.splitlines():
        kind, _, rest = line.partition(":")
        if kind == "FN":
            number, name = rest.split(",", 1)
            starts[int(number)] = demangled(name) if left_out else name
        elif kind == "DA":
            number, count = rest.split(",")[:2]
            counts[int(number)] = int(count)
    kept = {}
    for number, count in counts.items():
        owner = starts.get(max((start for start in starts if start <= number), default=None), "")
        if not any(re.search(rf"\b{name}(\[abi:cxx11\])?\(", owner) for name in left_out):
            kept[number] = count
    missed = sorted(number for number, count in kept.items() if count == 0)
    return (len(kept) - len(missed)) / len(kept) if kept else 0.0, missed


def main():
    source, binary, profile = sys.argv[1:]
    if not os.path.exists(profile):
        print("no profile")
        return 1
    told = []
    least = 1.0
    lcov = lcov_of(binary, profile)
    for path, left_out in named_parsers(source):
        part, missed = share(section_of(lcov, path), left_out)
        words = f"{os.path.basename(path)} {part:.1%}"
        if missed:
            words += " (not " + ",".join(map(str, missed[:8])) + ")"
        told.append(words)
        least = min(least, part)
    print("; ".join(told) or "-")
    return 0 if least >= ENOUGH else 1


if __name__ == "__main__":
    sys.exit(main())
