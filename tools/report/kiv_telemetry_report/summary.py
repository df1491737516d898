"""What all events together say."""

import collections

from .events import CALL_PREFIX, TRACE_PREFIX, Kind, kind_of, number_in
from .tallies import Extreme, Mean, Total, of_method
from .timeline import Timeline, width_for


class Span:
    """From the start of the first window to the end of the last."""

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


class Windows:
    """Values of one thing, each of which is of a window."""

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
    """Everything is counted in reports, `aggregated_count` of which are in an event, and belongs to
    the time at which its window ended."""

    def __init__(self):
        self.span = Span()
        self.first_end = Extreme(min)
        self.sessions = {}
        self.kinds = {kind: Total() for kind in Kind}
        self.events = {kind: Total() for kind in Kind}
        self.kinds_over_time = Timeline(lambda _: Total())
        self.errors = collections.defaultdict(Errors)
        self.errors_over_time = Timeline(lambda _: Total())
        self.streams = collections.Counter()
        self.traces = collections.defaultdict(lambda: Windows(Mean()))
        self.traces_over_time = Timeline(lambda _: Mean())
        self.calls = collections.Counter()
        self.numbers = {}
        self.numbers_over_time = Timeline(lambda key: of_method(key[1]))
        self.texts = collections.Counter()
        self.others = collections.Counter()

    def add(self, event):
        kind = kind_of(event)
        count = event["aggregated_count"]
        self.span.add(event)
        self.first_end.add(event["end_time_since_epoch"])
        session = self.sessions.setdefault(event["kiv_session_id"], len(self.sessions))
        self.events[kind].add(1)
        self.kinds[kind].add(count)
        self.kinds_over_time.add(event["end_time_since_epoch"], kind, count)
        ADD[kind](self, event, count, session)

    def add_error(self, event, count, session):
        errors = self.errors[event["severity"], event["kiv_error_code"], event["kiv_class"],
                             event["kiv_api"]]
        errors.reports += count
        errors.span.add(event)
        errors.sessions.add(session)
        self.errors_over_time.add(event["end_time_since_epoch"], event["severity"], count)

    def add_stream(self, event, count, _session):
        self.streams[event["kiv_event"], event["stream_type"], event["pcm_format"],
                     event["sample_rate"], event["channels"], event["samples"],
                     event["interleaved"] != 0] += count

    def add_latency(self, event, count, session):
        """Nothing more is known of it."""

    def add_trace(self, event, count, _session):
        name = event["kiv_event_name"].removeprefix(TRACE_PREFIX)
        self.traces[name].add(event["value_int"], count)
        self.traces_over_time.add(event["end_time_since_epoch"], name, event["value_int"], count)

    def add_call(self, event, count, _session):
        name = event["kiv_event_name"].removeprefix(CALL_PREFIX)
        self.calls[name, event["value_string"]] += count

    def add_number(self, event, count, _session):
        key = event["kiv_event_name"], event["aggregation_method"]
        value = number_in(event)
        if key not in self.numbers:
            self.numbers[key] = Windows(of_method(key[1]))
        self.numbers[key].add(value, count)
        if value is not None:
            self.numbers_over_time.add(event["end_time_since_epoch"], key, value, count)

    def add_text(self, event, count, _session):
        self.texts[event["kiv_event_name"], event["value_string"]] += count

    def add_other(self, event, count, _session):
        self.others[event["event"]] += count

    @property
    def reports(self):
        return sum(total.value for total in self.kinds.values())

    @property
    def roots(self):
        """The sessions that the others descend from."""
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
