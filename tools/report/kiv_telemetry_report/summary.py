"""Totals over all events."""

import collections

from .events import CALL_PREFIX, TRACE_PREFIX, Kind, kind_of, number_in
from .facts import Facts
from .tallies import Extreme, Mean, Total, of_method
from .timeline import Timeline, width_for


# Results of client calls that mean success. Clients may report any text.
SUCCESS = ("ok", "success", "succeeded", "true", "0")


class Span:
    """The time from the start of the first window to the end of the last."""

    def __init__(self):
        self.start = Extreme(min)
        self.end = Extreme(max)

    def add(self, event):
        self.start.add(event["start_time_since_epoch"])
        self.end.add(event["end_time_since_epoch"])


class Errors:
    def __init__(self):
        self.reports = 0
        self.span = Span()
        self.sessions = set()
        self.files = set()


class Calls:
    def __init__(self):
        self.made = 0
        self.failed = 0

    def add(self, failed, count):
        self.made += count
        self.failed += count * failed

    def merge(self, other):
        self.made += other.made
        self.failed += other.failed

    @property
    def value(self):
        """The share of failed calls."""
        return self.failed / self.made if self.made else None


class Windows:
    """The values of one named number or trace, one for each window."""

    def __init__(self, tally):
        self.tally = tally
        self.reports = 0
        self.events = 0
        self.not_finite = 0
        self.lowest = Extreme(min)
        self.highest = Extreme(max)

    def add(self, value, count):
        self.reports += count
        self.events += 1
        if value is None:
            self.not_finite += 1
            return
        self.tally.add(value, count)
        self.lowest.add(value)
        self.highest.add(value)


class Summary:
    """Counts reports: an event counts as often as its `aggregated_count` says, at the time at which
    its window ended. `success` holds the results of client calls that are no failure, in lower case."""

    def __init__(self, success=SUCCESS):
        self.success = frozenset(success)
        self.facts = Facts()
        self.span = Span()
        self.first_end = Extreme(min)
        self.sessions = {}
        self.kinds = {kind: Total() for kind in Kind}
        self.events = {kind: Total() for kind in Kind}
        self.kinds_over_time = Timeline(lambda _: Total())
        self.errors = collections.defaultdict(Errors)
        self.errors_over_time = Timeline(lambda _: Total())
        self.errors_by_file = collections.defaultdict(Errors)
        self.streams = collections.Counter()
        self.traces = collections.defaultdict(lambda: Windows(Mean()))
        self.traces_over_time = Timeline(lambda _: Mean())
        self.calls = collections.Counter()
        self.failures = collections.defaultdict(Calls)
        self.failures_over_time = Timeline(lambda _: Calls())
        self.numbers = {}
        self.numbers_over_time = Timeline(lambda key: of_method(key[1]))
        self.texts = collections.Counter()
        self.others = collections.Counter()

    def add(self, event, file=0):
        """Adds an event of the file with the given number."""
        kind = kind_of(event)
        count = event["aggregated_count"]
        self.span.add(event)
        self.first_end.add(event["end_time_since_epoch"])
        session = self.sessions.setdefault(event["kiv_session_id"], len(self.sessions))
        self.events[kind].add(1)
        self.kinds[kind].add(count)
        self.kinds_over_time.add(event["end_time_since_epoch"], kind, count)
        parts, value = ADD[kind](self, event, count, session, file)
        self.facts.add(kind, file, session, parts, event, count, value)

    # Each of the following returns the event's key, and its value if it has one.

    def add_error(self, event, count, session, file):
        key = event["severity"], event["kiv_error_code"], event["kiv_class"], event["kiv_api"]
        for errors in (self.errors[key], self.errors_by_file[file, event["severity"]]):
            errors.reports += count
            errors.span.add(event)
            errors.sessions.add(session)
            errors.files.add(file)
        self.errors_over_time.add(event["end_time_since_epoch"], event["severity"], count)
        return key, None

    def add_stream(self, event, count, _session, _file):
        key = (event["kiv_event"], event["stream_type"], event["pcm_format"],
               event["sample_rate"], event["channels"], event["samples"],
               event["interleaved"] != 0)
        self.streams[key] += count
        return key, None

    def add_latency(self, _event, _count, _session, _file):
        return (), None

    def add_trace(self, event, count, _session, _file):
        name, mean = event["kiv_event_name"].removeprefix(TRACE_PREFIX), event["value_int"]
        self.traces[name].add(mean, count)
        self.traces_over_time.add(event["end_time_since_epoch"], name, mean, count)
        return (name,), mean

    def add_call(self, event, count, _session, _file):
        name, result = event["kiv_event_name"].removeprefix(CALL_PREFIX), event["value_string"]
        failed = result.lower() not in self.success
        self.calls[name, result] += count
        self.failures[name].add(failed, count)
        self.failures_over_time.add(event["end_time_since_epoch"], name, failed, count)
        return (name, result, failed), None

    def add_number(self, event, count, _session, _file):
        key = event["kiv_event_name"], event["aggregation_method"]
        value = number_in(event)
        if key not in self.numbers:
            self.numbers[key] = Windows(of_method(key[1]))
        self.numbers[key].add(value, count)
        if value is not None:
            self.numbers_over_time.add(event["end_time_since_epoch"], key, value, count)
        return key, value

    def add_text(self, event, count, _session, _file):
        key = event["kiv_event_name"], event["value_string"]
        self.texts[key] += count
        return key, None

    def add_other(self, event, count, _session, _file):
        self.others[event["event"]] += count
        return (event["event"],), None

    @property
    def reports(self):
        return sum(total.value for total in self.kinds.values())

    @property
    def roots(self):
        """The root sessions. A process has one, unless its code makes more."""
        return {session.partition(".")[0] for session in self.sessions}

    @property
    def bin_width(self):
        if self.span.end.value is None:
            return None
        return width_for(self.first_end.value, self.span.end.value)


ADD = {
    Kind.ERROR: Summary.add_error,
    Kind.STREAM: Summary.add_stream,
    Kind.LATENCY: Summary.add_latency,
    Kind.TRACE: Summary.add_trace,
    Kind.CALL: Summary.add_call,
    Kind.NUMBER: Summary.add_number,
    Kind.TEXT: Summary.add_text,
    Kind.OTHER: Summary.add_other,
}
