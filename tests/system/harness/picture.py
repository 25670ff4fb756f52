# SPDX-License-Identifier: Apache-2.0
"""A screen as a picture that a browser shows."""

from html import escape
from itertools import groupby

COLUMN, ROW = 8.4, 18  # of a cell, in pixels
COLOURS = {31: "#ff7b72", 32: "#7ee787", 33: "#e3b341"}
PAPER, TEXT = "#0d1117", "#d0d7de"
BOLD, REVERSE = 1, 7


def svg(screen):
    width, height = COLUMN * screen.width + 16, ROW * screen.height + 16
    parts = [
        f'<svg xmlns="http://www.w3.org/2000/svg" viewBox="0 0 {width:g} {height:g}" '
        f'font-family="DejaVu Sans Mono, Menlo, Consolas, monospace" font-size="14">',
        f'<rect width="100%" height="100%" rx="6" fill="{PAPER}"/>',
    ]
    for number, row in enumerate(screen.cells):
        column = 0
        for look, cells in groupby(row, key=lambda cell: cell[1]):
            text = "".join(character for character, _ in cells)
            parts.append(run(text, look, 8 + column * COLUMN, 8 + number * ROW))
            column += len(text)
    return "\n".join(part for part in [*parts, "</svg>"] if part) + "\n"


def run(text, look, left, top):
    """A text of one look, stretched to its columns whatever the font is."""
    if not text.strip() and REVERSE not in look:
        return ""
    colour = next((COLOURS[number] for number in look if number in COLOURS), TEXT)
    weight = ' font-weight="bold"' if BOLD in look else ""
    width = len(text) * COLUMN
    back = ""
    if REVERSE in look:
        back = f'<rect x="{left:g}" y="{top}" width="{width:g}" height="{ROW}" fill="{colour}"/>'
        colour = PAPER
    return (
        f'{back}<text x="{left:g}" y="{top + 14}" textLength="{width:g}" '
        f'lengthAdjust="spacingAndGlyphs" xml:space="preserve" fill="{colour}"{weight}>'
        f"{escape(text)}</text>"
    )
