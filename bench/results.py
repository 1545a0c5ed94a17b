# SPDX-License-Identifier: GPL-3.0-or-later
"""What a measurement found: rows of a table, for people and for bench/all."""

import dataclasses
import json
import statistics
from dataclasses import dataclass


@dataclass
class Row:
    """quillfen's number, beside that of a floor or peer from the same run."""

    what: str
    unit: str
    ours: float
    peer: str = ""              # who else was measured
    theirs: float | None = None
    goal: float | None = None   # what the ratio, or without a peer our number, may be at most

    def ratio(self):
        return self.ours / self.theirs if self.theirs else None

    def met(self):
        """Whether the goal is; None where there is none."""
        if self.goal is None:
            return None
        return (self.ratio() if self.peer else self.ours) <= self.goal

    def cells(self):
        met = {None: "", True: "yes", False: "**no**"}[self.met()]
        return [self.what, self.peer, _number(self.theirs), _number(self.ours), self.unit,
                "" if self.ratio() is None else f"{self.ratio():.2f}",
                "" if self.goal is None else f"≤ {self.goal:g}", met]


HEADINGS = ["what", "floor or peer", "its", "quillfen's", "unit", "ratio", "goal", "met"]


def median(times):
    return statistics.median(times)


def p99(times):
    """The 99th percentile: the value that one in a hundred passes."""
    return sorted(times)[len(times) * 99 // 100]


def compare(what, unit, ours, peer, theirs, goals=(None, None)):
    """Two rows, median and p99, of two lists of times; goals are those of the two ratios."""
    return [Row(f"{what}, {name}", unit, of(ours), peer, of(theirs), goal)
            for name, of, goal in zip(("median", "p99"), (median, p99), goals)]


def table(rows):
    """rows as a table in Markdown that is one for the eye, too."""
    lines = [HEADINGS, *(row.cells() for row in rows)]
    widths = [max(len(line[column]) for line in lines) for column in range(len(HEADINGS))]
    lines.insert(1, ["-" * width for width in widths])
    return "\n".join("| " + " | ".join(cell.ljust(width) for cell, width in zip(line, widths))
                     + " |" for line in lines)


def report(rows, options):
    """Prints the rows and, where --json names a file, writes them there for bench/all."""
    print(table(rows), flush=True)
    if options.json:
        options.json.write_text(json.dumps([dataclasses.asdict(row) for row in rows]),
                                encoding="utf-8")


def read(path):
    """The rows that report() wrote to path."""
    return [Row(**fields) for fields in json.loads(path.read_text(encoding="utf-8"))]


def _number(value):
    if value is None:
        return ""
    digits = 0 if value >= 100 or value == int(value) else 1 if value >= 10 else 2
    return f"{value:,.{digits}f}"
