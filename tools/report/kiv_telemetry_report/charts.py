"""Tables, and which chart the page's script draws above each."""

import dataclasses
import typing

from . import texts

MOST_BARS = 12
MOST_ROWS = 200
FEWEST_BINS = 12  # so that a bar of a short time does not fill the chart


@dataclasses.dataclass
class Column:
    title: str
    form: typing.Callable = texts.display
    to_the_right: bool = False


@dataclasses.dataclass
class Table:
    columns: list
    rows: list
    rest: str = ""  # what the table leaves out


@dataclasses.dataclass
class Chart:
    """A table. If `drawn`, the script draws a chart of this name above it, and the table is folded
    unless it is `open`."""

    name: str
    title: str
    table: Table
    drawn: bool = True
    note: str = ""
    wide: bool = False
    open: bool = False


def count_column(title="Reports"):
    return Column(title, texts.count, True)


def number_column(title, form=texts.number):
    return Column(title, form, True)


def ranked(counts):
    """Items by descending count; equal counts by name."""
    return sorted(counts.items(), key=lambda item: (-item[1], item[0]))


def cut_table(columns, rows, reports_of):
    """A table of the first rows, with a text about the rest."""
    rest = rows[MOST_ROWS:]
    text = ""
    if rest:
        reports = sum(map(reports_of, rest))
        text = f"{len(rest):,} more, with {texts.plural(reports, 'report')} in all"
    return Table(columns, rows[:MOST_ROWS], text)


def time_table(summary, timeline, title, order, label=texts.display, value=None):
    """The table of a chart over time. `order` lists the keys that are shown, as in a legend."""
    columns = [Column("From (UTC)", texts.time), Column("To (UTC)", texts.time), Column(title, label),
               value or count_column()]
    rank = {key: number for number, key in enumerate(order)}
    rows = [(start, end, key, tally.value)
            for start, end, key, tally in timeline.rows(summary.bin_width) if key in rank]
    rows.sort(key=lambda row: (row[0], rank[row[2]]))
    rest = rows[:-MOST_ROWS]
    return Table(columns, rows[-MOST_ROWS:], f"{len(rest):,} earlier" if rest else "")


def step(summary):
    return (f"In steps of {texts.duration(summary.bin_width)}; each report counts at the end of its "
            "window.")


def time_domain(summary):
    """The time that all charts over time cover, in milliseconds."""
    width = summary.bin_width
    first = summary.first_end.value // width
    last = summary.span.end.value // width + 1
    missing = max(0, FEWEST_BINS - (last - first))
    return [max(0, first - missing // 2) * width, (last + (missing + 1) // 2) * width]
