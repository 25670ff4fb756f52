# SPDX-License-Identifier: Apache-2.0
"""The table, for a terminal and for the documentation."""

import textwrap

HEADINGS = ["Row", "Ours", "Reference", "Ratio", "Goal", "Met"]
MET = {True: "yes", False: "NO", None: ""}


def number(value):
    if value is None:
        return ""
    if value == int(value) and abs(value) < 1e6:
        return str(int(value))
    return f"{value:,.0f}" if abs(value) >= 1000 else f"{value:.3g}"


def figure(row, which):
    value = row[which]
    if value is None:
        return ""
    text = f"{number(value)} {row['unit']}".strip()
    count = len(row["samples"][which])
    return f"{text} ±{50 * row[f'{which}Spread']:.0f} %" if count > 1 else text


def cells(row):
    reference = figure(row, "reference")
    if row["referenceName"]:
        reference = f"{row['referenceName']}: {reference}"
    ratio = "" if row["ratio"] is None else f"{row['ratio']:.3g} ×"
    return [row["row"], figure(row, "ours"), reference, ratio, row["goal"], MET[row["met"]]]


def for_terminal(rows):
    lines = [HEADINGS] + [cells(row) for row in rows]
    widths = [max(len(line[column]) for line in lines) for column in range(len(HEADINGS))]
    return "\n".join(
        "  ".join(cell.ljust(width) for cell, width in zip(line, widths)).rstrip() for line in lines
    )


def for_docs(results):
    machine = results["machine"]
    kind = "a virtual machine with " if machine["virtual"] else ""
    lines = [
        f"Measured on {results['date']}: {kind}{machine['cores']} cores ({machine['processor']}), "
        f"{machine['memoryGiB']:g} GiB, Linux {machine['kernel']}, {machine['system']}.",
    ]
    lines = textwrap.wrap(lines[0], 100) + ["", row_of(HEADINGS), row_of(["---"] * len(HEADINGS))]
    lines += [row_of(cells(row)) for row in results["rows"]]
    lines += ["", "How each row is measured:", ""]
    told = []
    for row in results["rows"]:
        if row["how"] not in told:
            told.append(row["how"])
            names = [each["row"] for each in results["rows"] if each["how"] == row["how"]]
            text = f"- **{'; '.join(names)}**: {row['how']}"
            lines += textwrap.wrap(text, 100, subsequent_indent="  ", break_on_hyphens=False)
    return "\n".join(lines) + "\n"


def row_of(texts):
    return "| " + " | ".join(texts) + " |"
