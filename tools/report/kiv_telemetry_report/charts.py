"""Charts and tables without their looks, made from what was counted."""

import collections
import dataclasses
import typing

from . import texts

MOST_BARS = 12
MOST_PARTS = 6
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
    """`data` is for the page's script, which draws what is of its kind. A chart without data is
    only a table."""

    name: str
    title: str
    table: Table
    data: dict = None
    note: str = ""
    wide: bool = False


def count_column(title="Reports"):
    return Column(title, texts.count, True)


def number_column(title, form=texts.number):
    return Column(title, form, True)


def ranked(counts):
    """The most frequent first, equal ones by name."""
    return sorted(counts.items(), key=lambda item: (-item[1], item[0]))


def cut_table(columns, rows, reports_of):
    """The first rows, and what they leave out."""
    rest = rows[MOST_ROWS:]
    told = ""
    if rest:
        reports = sum(map(reports_of, rest))
        told = f"{len(rest):,} more, with {texts.plural(reports, 'report')} in all"
    return Table(columns, rows[:MOST_ROWS], told)


class Labels:
    """Texts for a chart's bars: different ones for different names, even where names look alike."""

    def __init__(self, form):
        self.form = form
        self.labels = {}
        self.taken = collections.Counter()

    def of(self, name):
        if name not in self.labels:
            label = self.form(name)
            self.taken[label] += 1
            times = self.taken[label]
            self.labels[name] = label if times == 1 else f"{label} ({times})"
        return self.labels[name]


def chosen(totals, most):
    """The names that are shown, and how many are not."""
    names = [name for name, _ in ranked(totals)]
    # One more takes no more room than a line that says so.
    return (names, 0) if len(names) <= most + 1 else (names[:most], len(names) - most)


def bars(counts, bar_form=texts.display, part_form=texts.display, order=None):
    """Data of a chart of bars that are divided into parts; `counts` is by (bar, part)."""
    by_bar, by_part = collections.Counter(), collections.Counter()
    for (bar, part), number in counts.items():
        by_bar[bar] += number
        by_part[part] += number
    shown, left_out = chosen(by_bar, MOST_BARS)
    parts, parts_left_out = (order, 0) if order else chosen(by_part, MOST_PARTS)
    other_bars, other_parts = f"{left_out:,} others", f"{parts_left_out:,} others"
    bar_labels, part_labels = Labels(bar_form), Labels(part_form)
    shown = {bar: bar_labels.of(bar) for bar in shown}
    parts = {part: part_labels.of(part) for part in parts}

    rows = collections.Counter()
    for (bar, part), number in counts.items():
        rows[shown.get(bar, other_bars), parts.get(part, other_parts)] += number
    bar_order = [*shown.values(), *([other_bars] if left_out else [])]
    part_order = [*parts.values(), *([other_parts] if parts_left_out else [])]
    present = {part for _, part in rows}
    return {
        "bars": bar_order,
        "others": other_parts if parts_left_out else None,
        "parts": [part for part in part_order if part in present],
        "rows": [{"bar": bar, "part": part, "reports": rows[bar, part]}
                 for bar in bar_order for part in part_order if rows[bar, part]],
    }


def severity_order(severities):
    """The worst first."""
    return sorted(severities, reverse=True)


def timeline(summary, timeline_, label, order):
    """Data of a chart over time."""
    width = summary.bin_width
    rows = [{"start": start, "end": end, "part": label(key), "value": tally.value}
            for start, end, key, tally in timeline_.rows(width)]
    present = {row["part"] for row in rows}
    return {
        "width": width,
        "domain": time_domain(summary, width),
        "parts": [label(key) for key in order if label(key) in present],
        "rows": rows,
    }


def step(summary):
    return (f"In steps of {texts.duration(summary.bin_width)}, each report at the end of its "
            "window.")


def time_domain(summary, width):
    first = summary.first_end.value // width
    last = summary.span.end.value // width + 1
    missing = max(0, FEWEST_BINS - (last - first))
    return [max(0, first - missing // 2) * width, (last + (missing + 1) // 2) * width]


def timeline_table(data, part, value=None):
    columns = [Column("From (UTC)", texts.time), Column("To (UTC)", texts.time), Column(part),
               value or count_column()]
    rows = [(row["start"], row["end"], row["part"], row["value"]) for row in data["rows"]]
    rest = rows[:-MOST_ROWS]
    return Table(columns, rows[-MOST_ROWS:], f"{len(rest):,} earlier" if rest else "")
