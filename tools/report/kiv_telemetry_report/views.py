"""The page's sections, charts with their tables, and tiles."""

import collections
import dataclasses

from . import texts
from .charts import (MOST_BARS, Chart, Column, Table, count_column, cut_table, number_column, ranked,
                     step, time_table)
from .events import Kind

MOST_LINES = 6


@dataclasses.dataclass
class Section:
    name: str
    title: str
    charts: list


@dataclasses.dataclass
class Tile:
    name: str
    label: str
    value: int
    hint: str = ""
    tone: str = ""


def has_several_bins(table):
    return len({row[0] for row in table.rows}) > 1


def kinds(summary):
    rows = [(kind.value, summary.kinds[kind].value, summary.events[kind].value)
            for kind in Kind if summary.events[kind].value]
    columns = [Column("Kind"), count_column(), count_column("Events")]
    charts = [
        Chart("kinds", "Reports by kind", Table(columns, rows)),
        Chart("kinds-over-time", "Reports over time",
              time_table(summary, summary.kinds_over_time, "Kind", Kind, lambda kind: kind.value),
              note=step(summary)),
    ]
    if summary.others:
        charts.append(Chart("others", "Events of other names", cut_table(
            [Column("Event"), count_column()], ranked(summary.others), lambda row: row[1]),
            drawn=False))
    return Section("kinds", "All reports", charts)


def errors_over_time(summary):
    severities = sorted({key[0] for key in summary.errors}, reverse=True)
    return Chart("errors-over-time", "Errors over time",
                 time_table(summary, summary.errors_over_time, "Severity", severities,
                            texts.severity), note=step(summary), wide=True)


def top_errors(summary):
    found = sorted(summary.errors.items(), key=lambda item: (-item[1].reports, -item[0][0], item[0]))
    columns = [Column("Severity", texts.severity), Column("Code"), Column("Class"), Column("API"),
               count_column(), count_column("Files"), count_column("Sessions"),
               Column("First (UTC)", texts.time), Column("Last (UTC)", texts.time)]
    rows = [(*key, e.reports, len(e.files), len(e.sessions), e.span.start.value, e.span.end.value)
            for key, e in found]
    return Chart("top-errors", "Top errors", cut_table(columns, rows, lambda row: row[4]),
                 note="By number of reports.", wide=True, open=True)


def errors_by_file(summary, names):
    found = sorted(summary.errors_by_file.items(),
                   key=lambda item: (-item[1].reports, names[item[0][0]], -item[0][1]))
    columns = [Column("File"), Column("Severity", texts.severity), count_column(),
               Column("First (UTC)", texts.time), Column("Last (UTC)", texts.time)]
    rows = [(names[file], severity, e.reports, e.span.start.value, e.span.end.value)
            for (file, severity), e in found]
    return Chart("errors-by-file", "Errors by file", cut_table(columns, rows, lambda row: row[2]),
                 wide=True)


def errors_by(summary, name, title, field):
    counts = collections.Counter()
    for key, error in summary.errors.items():
        counts[key[field], key[0]] += error.reports
    columns = [Column(title[0].upper() + title[1:]), Column("Severity", texts.severity),
               count_column()]
    table = cut_table(columns, [(*key, number) for key, number in ranked(counts)],
                      lambda row: row[2])
    return Chart(f"errors-by-{name}", f"Errors by {title}", table, wide=name == "code")


def errors(summary, names):
    return Section("errors", "Errors", [
        errors_over_time(summary), top_errors(summary), errors_by_file(summary, names),
        errors_by(summary, "code", "code", 1), errors_by(summary, "class", "class", 2),
        errors_by(summary, "api", "API", 3)])


def traces(summary):
    found = sorted(summary.traces.items(), key=lambda item: (-item[1].tally.total, item[0]))
    columns = [Column("API"), count_column("Calls"),
               number_column("Mean (µs)", texts.microseconds),
               number_column("Lowest window (µs)"), number_column("Highest window (µs)"),
               number_column("Total time", lambda us: texts.duration(us / 1000))]
    rows = [(name, w.reports, w.tally.value, w.lowest.value, w.highest.value, w.tally.total)
            for name, w in found]
    note = ("By total time. The dot is the mean of all calls; the line goes from the lowest to the "
            "highest mean of a window.")
    if len(rows) > MOST_BARS:
        note += " The chart shows the first; the table shows more."
    charts = [Chart("latencies", "API latencies", cut_table(columns, rows, lambda row: row[1]),
                    note=note, wide=True)]
    table = time_table(summary, summary.traces_over_time, "API", [row[0] for row in rows[:MOST_LINES]],
                       value=number_column("Mean (µs)", texts.microseconds))
    if has_several_bins(table):
        charts.append(Chart("latencies-over-time", "API latencies over time", table,
                            note=step(summary), wide=True))
    return Section("latencies", "API latencies", charts)


def ranked_failures(summary):
    """By number of failed calls, then by number of calls."""
    return sorted(summary.failures.items(),
                  key=lambda item: (-item[1].failed, -item[1].made, item[0]))


def calls(summary):
    found = ranked_failures(summary)
    rates = Table([Column("API"), count_column("Calls"), count_column("Failed"),
                   number_column("Failure rate", texts.share)],
                  [(name, c.made, c.failed, c.value) for name, c in found])
    rates = cut_table(rates.columns, rates.rows, lambda row: row[1])
    charts = [Chart("failure-rates", "Failure rates of client API calls", rates,
                    note="A call failed unless its result is one of: "
                         + ", ".join(sorted(summary.success)) + ".")]
    table = cut_table([Column("API"), Column("Result"), count_column("Calls")],
                      [(*key, number) for key, number in ranked(summary.calls)],
                      lambda row: row[2])
    charts.append(Chart("calls", "Client API calls by result", table))
    over_time = time_table(summary, summary.failures_over_time, "API",
                           [name for name, _ in found[:MOST_LINES]],
                           value=number_column("Failure rate", texts.share))
    if has_several_bins(over_time):
        charts.append(Chart("failure-rates-over-time", "Failure rates over time", over_time,
                            note=step(summary), wide=True))
    return Section("calls", "Client API calls", charts)


def streams(summary):
    columns = [Column("Event"), Column("Type", texts.stream_type),
               Column("Format", texts.pcm_format), number_column("Rate (Hz)"),
               number_column("Channels"), number_column("Samples"),
               Column("Interleaved", texts.yes_or_no), count_column()]
    table = cut_table(columns, [(*key, number) for key, number in ranked(summary.streams)],
                      lambda row: row[7])
    return Section("streams", "Streams", [Chart("streams", "Stream events by type", table)])


def audio_latencies(summary):
    rows = [(summary.kinds[Kind.LATENCY].value, summary.events[Kind.LATENCY].value)]
    table = Table([count_column("Samples"), count_column("Events")], rows)
    note = "The library sends the number of samples only, not their values or streams."
    return Section("audio-latencies", "Audio latencies",
                   [Chart("audio-latencies", "Audio latency samples", table, drawn=False,
                          note=note)])


def name_of_number(key):
    return f"{texts.display(key[0])} ({texts.display(key[1])})"


def numbers(summary):
    found = sorted(summary.numbers.items(), key=lambda item: (-item[1].reports, item[0]))
    columns = [Column("Name"), Column("Method"), number_column("Value"), count_column(),
               count_column("Windows"), number_column("Lowest window"),
               number_column("Highest window"), count_column("Not finite")]
    rows = [(*key, w.tally.value, w.reports, w.events, w.lowest.value, w.highest.value,
             w.not_finite) for key, w in found]
    charts = [Chart("numbers", "Named numbers", cut_table(columns, rows, lambda row: row[3]),
                    drawn=False, wide=True,
                    note="Combined over all windows by the method of the name. Averages are weighted "
                         "by their number of reports.")]
    over_time = time_table(summary, summary.numbers_over_time, "Name",
                           [key for key, _ in found[:MOST_LINES]], name_of_number,
                           number_column("Value"))
    if has_several_bins(over_time):
        charts.append(Chart("numbers-over-time", "Named numbers over time", over_time,
                            note=step(summary), wide=True))
    return Section("numbers", "Named numbers", charts)


def named_texts(summary):
    table = cut_table([Column("Name"), Column("Text"), count_column()],
                      [(*key, number) for key, number in ranked(summary.texts)],
                      lambda row: row[2])
    return Section("texts", "Named texts", [Chart("texts", "Named texts", table)])


def unreadable(sources):
    rows = [(source.name, number, reason) for source in sources for number, reason in source.shown]
    left_out = sum(source.unreadable for source in sources) - len(rows)
    columns = [Column("File"), count_column("Line"), Column("Reason")]
    return Table(columns, rows, f"{left_out:,} more" if left_out else "")


def sources_section(sources):
    columns = [Column("File"), count_column("Events"), count_column(),
               count_column("Unreadable lines"), Column("Remark")]
    rows = [(source.name, source.events, source.reports, source.unreadable, source.remark or " ")
            for source in sources]
    charts = [Chart("files", "Files", Table(columns, rows), drawn=False, wide=True)]
    if any(source.unreadable for source in sources):
        charts.append(Chart("unreadable", "Unreadable lines", unreadable(sources), drawn=False,
                            wide=True, note="No other number on this page includes them."))
    return Section("sources", "Files that were read", charts)


def sections(summary, sources):
    """The sections that have data."""
    names = texts.short_names([source.name for source in sources])
    views = [(Kind.TRACE, traces), (Kind.CALL, calls), (Kind.STREAM, streams),
             (Kind.LATENCY, audio_latencies), (Kind.NUMBER, numbers), (Kind.TEXT, named_texts)]
    found = [view(summary) for kind, view in views if summary.events[kind].value]
    if any(events.value for events in summary.events.values()):
        found.insert(0, kinds(summary))
    if summary.errors:
        found.insert(0, errors(summary, names))
    return [*found, sources_section(sources)]


def tiles(summary, sources):
    by_severity = collections.Counter()
    for (number, *_), error in summary.errors.items():
        by_severity[number] += error.reports
    events = sum(total.value for total in summary.events.values())
    other_errors = sum(n for severity, n in by_severity.items() if severity not in (1, 2, 3))
    made = sum(calls.made for calls in summary.failures.values())
    failed = sum(calls.failed for calls in summary.failures.values())
    found = [
        Tile("reports", "Reports", summary.reports, f"in {texts.plural(events, 'event')}"),
        Tile("fatal", "Fatal errors", by_severity[3], tone="fatal"),
        Tile("error", "Errors", by_severity[2], tone="error"),
        Tile("warning", "Warnings", by_severity[1],
             f"and {texts.plural(other_errors, 'other')}" if other_errors else "", "warning"),
        Tile("failed", "Failed calls", failed,
             f"{texts.share(failed / made)} of {made:,}" if made else "", "error"),
        Tile("traces", "Traced API calls", summary.kinds[Kind.TRACE].value,
             f"of {texts.plural(len(summary.traces), 'API')}"),
        Tile("streams", "Stream events", summary.kinds[Kind.STREAM].value),
        Tile("sessions", "Sessions", len(summary.sessions),
             f"of {texts.plural(len(summary.roots), 'root session')}"),
    ]
    bad = sum(source.unreadable for source in sources)
    if bad:
        found.append(Tile("unreadable", "Unreadable lines", bad, "left out", "warning"))
    return found
