# SPDX-License-Identifier: Apache-2.0
"""Figures: what was measured, what it is compared with, and whether that is good enough."""

import statistics
from dataclasses import dataclass, field

TURNS = 5


def alternate(ours, reference, turns=TURNS):
    """Takes both figures by turns, ours first, and returns the two lists."""
    taken = [(ours(), reference()) for _ in range(turns)]
    return [each[0] for each in taken], [each[1] for each in taken]


def median(figures):
    return statistics.median(figures)


def spread(figures):
    """The distance from the least to the largest, as a part of the median."""
    middle = median(figures)
    return (max(figures) - min(figures)) / middle if middle else 0.0


@dataclass
class Row:
    name: str
    ours: list  # every figure that was taken
    unit: str
    how: str  # how it is measured
    reference_name: str = ""
    reference: list = field(default_factory=list)

    def ratio(self):
        if not self.reference or median(self.reference) == 0:
            return None
        return median(self.ours) / median(self.reference)

    def goal(self):
        return ""

    def met(self):
        """None: the row is shown, and has no goal."""
        return None

    def as_json(self):
        return {
            "row": self.name,
            "unit": self.unit,
            "ours": median(self.ours),
            "oursSpread": round(spread(self.ours), 3),
            "referenceName": self.reference_name,
            "reference": median(self.reference) if self.reference else None,
            "referenceSpread": round(spread(self.reference), 3) if self.reference else None,
            "ratio": self.ratio(),
            "goal": self.goal(),
            "met": self.met(),
            "how": self.how,
            "samples": {"ours": self.ours, "reference": self.reference},
        }


class Shown(Row):
    """Beside the others, without a goal."""


@dataclass
class Comparison(Row):
    """A ratio with a bound: `most` from above or `least` from below."""

    most: float = None
    least: float = None

    def goal(self):
        return f"≤ {self.most:g} ×" if self.most is not None else f"≥ {self.least:g} ×"

    def met(self):
        ratio = self.ratio()
        if ratio is None:
            return False
        return ratio <= self.most if self.most is not None else ratio >= self.least


@dataclass
class Count(Row):
    """A figure of ours with a bound of its own, in its unit."""

    most: float = None
    least: float = None

    def goal(self):
        parts = [f"≥ {self.least:g}"] if self.least is not None else []
        parts += [f"≤ {self.most:g}"] if self.most is not None else []
        return ", ".join(parts)

    def met(self):
        figure = median(self.ours)
        return (self.most is None or figure <= self.most) and (
            self.least is None or figure >= self.least
        )
