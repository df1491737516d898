#!/usr/bin/env python3
"""Prints a table of telemetry events from lines of JSON.

The exit status is 1 if a file or a line could not be read, and 2 if the command line was wrong.
"""

import argparse
import json
import sys

WIDTH = 80
INDENT = "  "
GAP = "  "
ELLIPSIS = "…"

SEVERITIES = {0: "INFO", 1: "WARNING", 2: "ERROR", 3: "FATAL"}
TRACE_PREFIX = "api_latency_us."
CALL_PREFIX = "client_api_call."


class Malformed(Exception):
    """A line that is no event, or a file that is no summary."""


def without_prefix(text, prefix):
    return text[len(prefix):] if text.startswith(prefix) else text


def severity_name(event):
    return SEVERITIES.get(event["severity"], event["severity"])


def pcm_format(event):
    return without_prefix(event["pcm_format"], "AUDIO_FORMAT_")


def stream_type(event):
    return without_prefix(event["stream_type"], "KIV_STREAM_TYPE_")


def value(event):
    """The value in whichever of the three fields is used; the others are empty or zero."""
    number = event["value_float"]
    if event["value_string"]:
        return event["value_string"]
    if number is None:
        return "not finite"
    return f"{number:,.2f}" if number != 0 else f"{event['value_int']:,}"


def trace_name(event):
    return without_prefix(event["kiv_event_name"], TRACE_PREFIX)


def call_name(event):
    return without_prefix(event["kiv_event_name"], CALL_PREFIX)


def count(event):
    return f"{event['aggregated_count']:,}"


def session(event):
    return event["kiv_session_id"][-8:]


def field(name):
    return lambda event: event[name]


# For each kind of event: its title, and its columns as (title, function that gets the text).
KINDS = {
    "errors": (
        "Errors",
        [
            ("count", count),
            ("severity", severity_name),
            ("class", field("kiv_class")),
            ("api", field("kiv_api")),
            ("code", field("kiv_error_code")),
        ],
    ),
    "streams": (
        "Streams",
        [
            ("count", count),
            ("event", field("kiv_event")),
            ("type", stream_type),
            ("format", pcm_format),
            ("rate", field("sample_rate")),
            ("channels", field("channels")),
            ("samples", field("samples")),
            ("session", session),
        ],
    ),
    "latency": (
        "Audio latency",
        [("count", count), ("method", field("aggregation_method")), ("session", session)],
    ),
    "values": (
        "Named values",
        [
            ("count", count),
            ("name", field("kiv_event_name")),
            ("method", field("aggregation_method")),
            ("value", value),
            ("session", session),
        ],
    ),
    "traces": (
        "Traces",
        [("count", count), ("name", trace_name), ("µs on average", value), ("session", session)],
    ),
    "calls": (
        "Client calls",
        [("count", count), ("api", call_name), ("result", value), ("session", session)],
    ),
    "others": ("Other events", [("count", count), ("event", field("event"))]),
}
NUMBERS = {"count", "rate", "channels", "samples", "µs on average"}

TEXT = (str,)
INTEGER = (int,)
FLOAT = (int, float, type(None))  # numbers that are not finite are written as null

# The fields that the columns take from an event of each name.
FIELDS = {
    "wexo_kiv_error_code": {
        "kiv_session_id": TEXT,
        "kiv_class": TEXT,
        "kiv_api": TEXT,
        "kiv_error_code": TEXT,
        "severity": INTEGER,
    },
    "wexo_kiv_stream_event": {
        "kiv_session_id": TEXT,
        "kiv_event": TEXT,
        "stream_type": TEXT,
        "pcm_format": TEXT,
        "sample_rate": INTEGER,
        "channels": INTEGER,
        "samples": INTEGER,
    },
    "": {"kiv_session_id": TEXT, "aggregation_method": TEXT},
    "wexo_kiv_generic": {
        "kiv_session_id": TEXT,
        "aggregation_method": TEXT,
        "kiv_event_name": TEXT,
        "value_int": INTEGER,
        "value_float": FLOAT,
        "value_string": TEXT,
    },
}


def parse(line):
    """Returns the event on a line."""
    try:
        event = json.loads(line)
    except ValueError as error:
        raise Malformed(f"not JSON: {error}") from error
    if not isinstance(event, dict) or not isinstance(event.get("event"), str):
        raise Malformed("not an event")
    for name, types in {"aggregated_count": INTEGER, **FIELDS.get(event["event"], {})}.items():
        if name not in event:
            raise Malformed(f"lacks {name}")
        if type(event[name]) not in types:
            raise Malformed(f"{name} is {event[name]!r}")
    return event


def kind_of(event):
    if event["event"] == "wexo_kiv_generic":
        if event["kiv_event_name"].startswith(TRACE_PREFIX):
            return "traces"
        return "calls" if event["kiv_event_name"].startswith(CALL_PREFIX) else "values"
    names = {"wexo_kiv_error_code": "errors", "wexo_kiv_stream_event": "streams", "": "latency"}
    return names.get(event["event"], "others")


def read_events(path):
    """Returns the events of a file and the number of malformed lines."""
    events = []
    malformed = 0
    with open(path, "rb") as file:
        for number, line in enumerate(file, start=1):
            try:
                events.append(parse(line))
            except Malformed as error:
                malformed += 1
                print(f"{path}:{number}: {error}", file=sys.stderr)
    return events, malformed


def read_reports(path):
    """Returns the number of reports according to the summary at `path`."""
    with open(path, "rb") as file:
        try:
            reports = json.load(file)["reports"]
        except (ValueError, TypeError, KeyError) as error:
            raise Malformed(f"{path}: no summary") from error
    if not isinstance(reports, int) or isinstance(reports, bool):
        raise Malformed(f"{path}: no number of reports")
    return reports


def fit(widths):
    """Narrows the widest columns until all of them fit."""
    available = WIDTH - len(INDENT) - len(GAP) * (len(widths) - 1)
    widths = list(widths)
    while sum(widths) > available:
        widths[widths.index(max(widths))] -= 1
    return widths


def cell(text, width, to_the_right):
    if len(text) > width:
        text = text[: width - 1] + ELLIPSIS
    return text.rjust(width) if to_the_right else text.ljust(width)


def printable(item):
    return "".join(c if c.isprintable() else "?" for c in str(item))


def print_table(kind, events):
    title, columns = KINDS[kind]
    titles = [name for name, _ in columns]
    # Sorted by name, not by count: the windows of one aggregate are listed together, in their order.
    keys = [get for name, get in columns if name not in NUMBERS and name != "value"]
    events = sorted(events, key=lambda event: ([str(get(event)) for get in keys],
                                               event.get("end_time_since_epoch", 0)))
    rows = [[printable(get(event)) for _, get in columns] for event in events]
    widths = fit([max(map(len, texts)) for texts in zip(titles, *rows)])
    print(f"{title}: {len(rows):,}")
    for row in [titles] + rows:
        cells = [cell(*args, name in NUMBERS) for *args, name in zip(row, widths, titles)]
        print((INDENT + GAP.join(cells)).rstrip())
    print()


def plural(number, noun):
    return f"{number:,} {noun}" if number == 1 else f"{number:,} {noun}s"


def show(events, reports):
    for kind in KINDS:
        chosen = [event for event in events if kind_of(event) == kind]
        if chosen:
            print_table(kind, chosen)
    counted = sum(event["aggregated_count"] for event in events)
    if reports is None:
        reports = counted
    elif reports != counted:
        print(f"The events account for {plural(counted, 'report')}.")
    print(f"{plural(reports, 'report')} became {plural(len(events), 'event')}.")


def main():
    parser = argparse.ArgumentParser(description="Prints a table of telemetry events.")
    parser.add_argument("events", metavar="EVENTS.jsonl", help="one event per line")
    parser.add_argument(
        "summary",
        metavar="SUMMARY.json",
        nargs="?",
        help="the summary that the reporting program wrote",
    )
    arguments = parser.parse_args()
    # Characters that the terminal's encoding lacks are printed as question marks.
    sys.stdout.reconfigure(errors="replace")
    try:
        reports = read_reports(arguments.summary) if arguments.summary else None
        events, malformed = read_events(arguments.events)
    except (OSError, Malformed) as error:
        print(f"show_events: {error}", file=sys.stderr)
        return 1
    show(events, reports)
    return 1 if malformed else 0


if __name__ == "__main__":
    sys.exit(main())
