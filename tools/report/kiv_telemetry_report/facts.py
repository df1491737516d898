"""Numbers by time, file, session and key: what the page's script filters and draws."""

import collections

from .events import Kind
from .timeline import MOST_SHOWN, WIDTHS

# Beyond this many cells, first bins are merged, and then sessions are.
MOST_CELLS = 100_000

Key = collections.namedtuple("Key", "kind file session parts")


class Cell:
    """Sums over equal reports of one bin, file and session."""

    __slots__ = ("reports", "events", "total", "weight", "lowest", "highest", "start", "end")

    def __init__(self):
        self.reports = self.events = self.total = self.weight = 0
        self.lowest = self.highest = self.start = self.end = None

    def add(self, event, count, value):
        start, end = event["start_time_since_epoch"], event["end_time_since_epoch"]
        if self.events == 0:
            self.start, self.end = start, end
        else:
            self.start, self.end = min(self.start, start), max(self.end, end)
        self.reports += count
        self.events += 1
        if value is not None:
            self.add_value(value, count, event["aggregation_method"] == "AVG")

    def add_value(self, value, count, weighted):
        self.total += value * count if weighted else value
        self.lowest = value if self.weight == 0 else min(self.lowest, value)
        self.highest = value if self.weight == 0 else max(self.highest, value)
        self.weight += count

    def merge(self, other):
        self.reports += other.reports
        self.events += other.events
        self.total += other.total
        self.weight += other.weight
        for name, choose in (("lowest", min), ("highest", max), ("start", min), ("end", max)):
            values = [v for v in (getattr(self, name), getattr(other, name)) if v is not None]
            setattr(self, name, choose(values) if values else None)


# The numbers that the script needs of each kind of event, besides reports and events. `weight` is the
# number of reports with a finite value.
MEASURES = {
    Kind.ERROR: ("start", "end"),
    Kind.TRACE: ("total", "lowest", "highest"),
    Kind.NUMBER: ("total", "weight", "lowest", "highest", "not_finite"),
}


class Facts:
    """The cells of all events. Their memory is limited, unless there are that many different keys."""

    def __init__(self, most_cells=MOST_CELLS):
        self.most_cells = most_cells
        self.width = WIDTHS[0]
        self.with_sessions = True
        self.cells = {}

    def add(self, kind, file, session, parts, event, count, value=None):
        key = Key(kind, file, session if self.with_sessions else None, parts)
        place = event["end_time_since_epoch"] // self.width, key
        cell = self.cells.get(place)
        if cell is None:
            cell = self.cells[place] = Cell()
        cell.add(event, count, value)
        while len(self.cells) > self.most_cells:
            if not self.shrink():
                self.most_cells *= 2  # all keys differ

    @staticmethod
    def merge(cells, key, cell):
        if key in cells:
            cells[key].merge(cell)
        else:
            cells[key] = cell

    def shrink(self):
        """Merges cells, and returns False if nothing is left to merge."""
        bins = len({number for number, _ in self.cells})
        if bins > 2 * MOST_SHOWN and self.width != WIDTHS[-1]:
            width = next(width for width in WIDTHS if width > self.width)
            self.cells, self.width = self.widened(width), width
            return True
        if self.with_sessions:
            self.with_sessions = False
            cells = {}
            for (number, key), cell in self.cells.items():
                self.merge(cells, (number, key._replace(session=None)), cell)
            self.cells = cells
            return True
        return False

    def widened(self, width):
        ratio = width // self.width
        cells = {}
        for (number, key), cell in self.cells.items():
            self.merge(cells, (number // ratio, key), cell)
        return cells

    def rows(self, width):
        """(start of the bin, key, cell), in order of time."""
        for (number, key), cell in sorted(self.widened(width).items(), key=lambda row: row[0][0]):
            yield number * width, key, cell


def not_finite(cell):
    return cell.reports - cell.weight


def for_script(facts, width, sessions):
    """The cells as the page's script reads them: for each kind its distinct keys, and rows of numbers
    (bin, file, session, key, reports, events, and the measures of the kind)."""
    kinds = {kind: {"keys": {}, "cells": []} for kind in Kind}
    for start, key, cell in facts.rows(width):
        found = kinds[key.kind]
        number = found["keys"].setdefault(key.parts, len(found["keys"]))
        measures = [not_finite(cell) if name == "not_finite" else getattr(cell, name)
                    for name in MEASURES.get(key.kind, ())]
        found["cells"].append([start, key.file, key.session, number, cell.reports, cell.events,
                               *measures])
    return {
        "sessions": list(sessions) if facts.with_sessions else None,
        "kinds": {kind.name.lower(): {"title": kind.value, "keys": list(map(list, found["keys"])),
                                      "measures": ["reports", "events", *MEASURES.get(kind, ())],
                                      "cells": found["cells"]}
                  for kind, found in kinds.items() if found["cells"]},
    }
