"""What is shown of a summary: sections of charts and tables, and tiles."""

import collections
import dataclasses

from . import texts
from .charts import (MOST_BARS, Chart, Column, Labels, Table, bars, count_column,
                     cut_table, number_column, ranked, severity_order, step, timeline,
                     timeline_table)
from .events import Kind

MOST_LINES = 6


@dataclasses.dataclass
class Section:
    name: str
    title: str
    charts: list


@dataclasses.dataclass
class Tile:
    label: str
    value: int
    hint: str = ""
    tone: str = ""


def kinds(summary):
    rows = [(kind.value, summary.kinds[kind].value, summary.events[kind].value)
            for kind in Kind if summary.events[kind].value]
    data = {"kind": "bars", "axis": "Reports", "bars": [row[0] for row in rows], "parts": [],
            "rows": [{"bar": row[0], "reports": row[1], "events": row[2]} for row in rows]}
    columns = [Column("Kind"), count_column(), count_column("Events")]
    over_time = timeline(summary, summary.kinds_over_time, lambda kind: kind.value, Kind)
    charts = [
        Chart("kinds", "Reports by kind", Table(columns, rows), data),
        Chart("kinds-over-time", "Reports over time", timeline_table(over_time, "Kind"),
              {"kind": "timeline", **over_time}, step(summary)),
    ]
    if summary.others:
        charts.append(Chart("others", "Events of other names", cut_table(
            [Column("Event"), count_column()], ranked(summary.others), lambda row: row[1])))
    return Section("kinds", "What was reported", charts)


def errors(summary):
    found = sorted(summary.errors.items(),
                   key=lambda item: (-item[0][0], -item[1].reports, item[0]))
    columns = [Column("Severity", texts.severity), Column("Code"), Column("Class"), Column("API"),
               count_column(), count_column("Sessions"), Column("First (UTC)", texts.time),
               Column("Last (UTC)", texts.time)]
    rows = [(*key, e.reports, len(e.sessions), e.span.start.value, e.span.end.value)
            for key, e in found]
    order = severity_order({key[0] for key in summary.errors})
    over_time = timeline(summary, summary.errors_over_time, texts.severity, order)
    charts = [
        Chart("errors-over-time", "Errors over time", timeline_table(over_time, "Severity"),
              {"kind": "timeline", "palette": "severity", **over_time},
              step(summary), wide=True),
        Chart("top-errors", "Top errors", cut_table(columns, rows, lambda row: row[4]),
              note="The worst first.", wide=True),
    ]
    for name, title, field in (("code", "code", 1), ("class", "class", 2), ("api", "API", 3)):
        counts = collections.Counter()
        for key, error in found:
            counts[key[field], key[0]] += error.reports
        data = bars(counts, part_form=texts.severity, order=order)
        columns = [Column(title[0].upper() + title[1:]), Column("Severity", texts.severity),
                   count_column()]
        table = cut_table(columns,
                          [(*key, number) for key, number in ranked(counts)], lambda row: row[2])
        charts.append(Chart(f"errors-by-{name}", f"Errors by {title}", table,
                            {"kind": "bars", "palette": "severity", **data}, wide=name == "code"))
    return Section("errors", "Errors", charts)


def traces(summary):
    found = sorted(summary.traces.items(), key=lambda item: (-item[1].tally.total, item[0]))
    columns = [Column("API"), count_column("Calls"),
               number_column("Mean (µs)", texts.microseconds),
               number_column("Lowest window (µs)"), number_column("Highest window (µs)"),
               number_column("Time in all", lambda us: texts.duration(us / 1000))]
    rows = [(name, w.reports, w.tally.value, w.lowest.value, w.highest.value, w.tally.total)
            for name, w in found]
    labels = Labels(texts.display)
    shown = rows[:MOST_BARS]
    data = {"kind": "latencies",
            "rows": [dict(zip(("api", "calls", "mean", "lowest", "highest"),
                              (labels.of(row[0]), *row[1:5]))) for row in shown]}
    note = ("Means over all calls, by the time that they took in all; the line goes from the "
            "lowest to the highest mean of a window.")
    if len(rows) > MOST_BARS:
        note += f" {len(rows) - MOST_BARS:,} more are in the table."
    charts = [Chart("latencies", "API latencies", cut_table(columns, rows, lambda row: row[1]),
                    data, note, wide=True)]
    lines = {row[0] for row in rows[:MOST_LINES]}
    over_time = timeline(summary, summary.traces_over_time, labels.of, [row[0] for row in shown])
    line_labels = {labels.of(name) for name in lines}
    over_time["rows"] = [row for row in over_time["rows"] if row["part"] in line_labels]
    over_time["parts"] = [part for part in over_time["parts"] if part in line_labels]
    if has_course(over_time):
        table = timeline_table(over_time, "API", number_column("Mean (µs)", texts.microseconds))
        data = {"kind": "lines", "axis": "Mean latency (µs, logarithmic)", **over_time}
        charts.append(Chart("latencies-over-time", "API latencies over time", table, data,
                            step(summary), wide=True))
    return Section("latencies", "API latencies", charts)


def has_course(over_time):
    return len({row["start"] for row in over_time["rows"]}) > 1


def calls(summary):
    table = cut_table([Column("API"), Column("Result"), count_column("Calls")],
                      [(*key, number) for key, number in ranked(summary.calls)],
                      lambda row: row[2])
    data = {"kind": "bars", "axis": "Calls", "part": "Result", **bars(summary.calls)}
    return Section("calls", "Client API calls",
                   [Chart("calls", "Client API calls by result", table, data)])


def streams(summary):
    columns = [Column("Event"), Column("Type", texts.stream_type),
               Column("Format", texts.pcm_format), number_column("Rate (Hz)"),
               number_column("Channels"), number_column("Samples"),
               Column("Interleaved", lambda value: "yes" if value else "no"), count_column()]
    table = cut_table(columns, [(*key, number) for key, number in ranked(summary.streams)],
                      lambda row: row[7])
    counts = collections.Counter()
    for key, number in summary.streams.items():
        counts[key[0], key[1]] += number
    data = {"kind": "bars", "part": "Type", **bars(counts, part_form=texts.stream_type)}
    return Section("streams", "Streams", [Chart("streams", "Stream events by type", table, data)])


def audio_latencies(summary):
    rows = [(summary.kinds[Kind.LATENCY].value, summary.events[Kind.LATENCY].value)]
    table = Table([count_column("Samples"), count_column("Events")], rows)
    note = "The library reports how many samples were taken, and neither their values nor of what."
    return Section("audio-latencies", "Audio latencies",
                   [Chart("audio-latencies", "Audio latency samples", table, note=note)])


def numbers(summary):
    found = sorted(summary.numbers.items(), key=lambda item: (-item[1].reports, item[0]))
    columns = [Column("Name"), Column("Method"), number_column("Value"), count_column(),
               count_column("Windows"), number_column("Lowest window"),
               number_column("Highest window"), count_column("Not finite")]
    rows = [(*key, w.tally.value, w.reports, w.events, w.lowest.value, w.highest.value,
             w.not_finite) for key, w in found]
    charts = [Chart("numbers", "Named numbers", cut_table(columns, rows, lambda row: row[3]),
                    note="Folded over all windows by the method of their name; averages weigh as "
                         "much as went into them.", wide=True)]
    shown = {key: f"{texts.display(key[0])} ({texts.display(key[1])})"
             for key, _ in found[:MOST_LINES]}
    over_time = timeline(summary, summary.numbers_over_time, lambda key: shown.get(key), shown)
    over_time["rows"] = [row for row in over_time["rows"] if row["part"] is not None]
    if has_course(over_time):
        charts.append(Chart("numbers-over-time", "Named numbers over time",
                            timeline_table(over_time, "Name", number_column("Value")),
                            {"kind": "multiples", **over_time}, step(summary), wide=True))
    return Section("numbers", "Named numbers", charts)


def named_texts(summary):
    table = cut_table([Column("Name"), Column("Text"), count_column()],
                      [(*key, number) for key, number in ranked(summary.texts)],
                      lambda row: row[2])
    counts = {((name, text), ""): number for (name, text), number in summary.texts.items()}
    data = bars(counts, bar_form=lambda bar: f"{texts.display(bar[0])} = {texts.display(bar[1])}")
    return Section("texts", "Named texts", [Chart("texts", "Named texts", table,
                                                  {"kind": "bars", **data, "parts": []})])


def unreadable(sources):
    rows = [(source.name, number, reason) for source in sources for number, reason in source.told]
    left_out = sum(source.unreadable for source in sources) - len(rows)
    columns = [Column("File"), count_column("Line"), Column("Why")]
    return Table(columns, rows, f"{left_out:,} more" if left_out else "")


def sources_section(sources):
    columns = [Column("File"), count_column("Events"), count_column(),
               count_column("Unreadable lines")]
    rows = [(source.name, source.events, source.reports, source.unreadable) for source in sources]
    charts = [Chart("files", "Files", Table(columns, rows))]
    if any(source.unreadable for source in sources):
        charts.append(Chart("unreadable", "Unreadable lines", unreadable(sources),
                            note="They are left out of everything else."))
    return Section("sources", "Where it comes from", charts)


def sections(summary, sources):
    """Those that there is something for."""
    views = [(Kind.TRACE, traces), (Kind.CALL, calls), (Kind.STREAM, streams),
             (Kind.LATENCY, audio_latencies), (Kind.NUMBER, numbers), (Kind.TEXT, named_texts)]
    found = [view(summary) for kind, view in views if summary.events[kind].value]
    if any(events.value for events in summary.events.values()):
        found.insert(0, kinds(summary))
    if summary.errors:
        found.insert(0, errors(summary))
    return [*found, sources_section(sources)]


def tiles(summary, sources):
    by_severity = collections.Counter()
    for (number, *_), error in summary.errors.items():
        by_severity[number] += error.reports
    events = sum(total.value for total in summary.events.values())
    other_errors = sum(n for severity, n in by_severity.items() if severity not in (1, 2, 3))
    found = [
        Tile("Reports", summary.reports, f"in {texts.plural(events, 'event')}"),
        Tile("Fatal errors", by_severity[3], tone="fatal"),
        Tile("Errors", by_severity[2], tone="error"),
        Tile("Warnings", by_severity[1],
             f"and {other_errors:,} others" if other_errors else "", "warning"),
        Tile("Traced API calls", summary.kinds[Kind.TRACE].value,
             f"of {texts.plural(len(summary.traces), 'API')}"),
        Tile("Stream events", summary.kinds[Kind.STREAM].value),
        Tile("Sessions", len(summary.sessions), f"of {texts.plural(len(summary.roots), 'root')}"),
    ]
    bad = sum(source.unreadable for source in sources)
    if bad:
        found.append(Tile("Unreadable lines", bad, "left out", "warning"))
    return found
