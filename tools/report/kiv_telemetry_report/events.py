"""Events on lines of JSON, as the library passes them to its telemetry module."""

import enum
import json
import math

TRACE_PREFIX = "api_latency_us."
CALL_PREFIX = "client_api_call."

LAST_TIME = 253_402_300_799_999  # the end of the year 9999, in milliseconds


class Malformed(Exception):
    """The reason why a line is not an event."""


class Kind(enum.Enum):
    """The kinds of events; the values are their titles."""

    ERROR = "errors"
    STREAM = "stream events"
    LATENCY = "audio latencies"
    TRACE = "traced API calls"
    CALL = "client API calls"
    NUMBER = "named numbers"
    TEXT = "named texts"
    OTHER = "other events"


def refuse_constant(name):
    raise ValueError(f"{name} is not JSON")


def text(value):
    if not isinstance(value, str):
        raise Malformed("is not a text")
    return value


def within(low, high):
    def integer(value):
        if type(value) is not int:  # a truth value is an integer to isinstance
            raise Malformed("is not an integer")
        if not low <= value <= high:
            raise Malformed("is out of range")
        return value
    return integer


def count(value):
    """A number that is unsigned in the library, but sent as a signed one of the same 32 bits."""
    return within(-(1 << 31), (1 << 32) - 1)(value) % (1 << 32)


def real(value):
    """A float, or None for null, which stands for numbers that are not finite."""
    if value is None:
        return None
    if type(value) not in (int, float):
        raise Malformed("is not a number")
    try:
        return float(value) if math.isfinite(value) else None
    except OverflowError:
        return None


time = within(0, LAST_TIME)
integer = within(-(1 << 63), (1 << 63) - 1)

COMMON = {
    "aggregated_count": count,
    "aggregation_method": text,
    "start_time_since_epoch": time,
    "end_time_since_epoch": time,
    "kiv_session_id": text,
}
FIELDS = {
    "wexo_kiv_error_code": {
        **COMMON,
        "kiv_class": text,
        "kiv_api": text,
        "kiv_error_code": text,
        "severity": within(0, 255),
    },
    "wexo_kiv_stream_event": {
        **COMMON,
        "kiv_event": text,
        "stream_type": text,
        "pcm_format": text,
        "sample_rate": count,
        "channels": count,
        "samples": count,
        "interleaved": integer,
    },
    "wexo_kiv_generic": {
        **COMMON,
        "kiv_event_name": text,
        "value_int": integer,
        "value_float": real,
        "value_string": text,
    },
}


def parse(line):
    """Returns the event on a line, with its values converted."""
    try:
        event = json.loads(line.decode(), parse_constant=refuse_constant)
    except (ValueError, RecursionError) as error:
        raise Malformed(f"not JSON: {error}") from error
    if not isinstance(event, dict) or not isinstance(event.get("event"), str):
        raise Malformed("not an event")
    for name, read in FIELDS.get(event["event"], COMMON).items():
        if name not in event:
            raise Malformed(f"lacks {name}")
        try:
            event[name] = read(event[name])
        except Malformed as error:
            raise Malformed(f"{name} {error}") from None
    return event


def kind_of(event):
    name = event["event"]
    if name == "wexo_kiv_generic":
        return kind_of_value(event)
    kinds = {"wexo_kiv_error_code": Kind.ERROR, "wexo_kiv_stream_event": Kind.STREAM,
             "": Kind.LATENCY}
    return kinds.get(name, Kind.OTHER)


def kind_of_value(event):
    # The event of a text has the method COUNT and both numbers 0; that of a counted number has its
    # count, which is not 0.
    no_number = event["value_int"] == 0 and event["value_float"] == 0
    if event["aggregation_method"] == "COUNT" and no_number:
        return Kind.CALL if event["kiv_event_name"].startswith(CALL_PREFIX) else Kind.TEXT
    is_trace = (event["kiv_event_name"].startswith(TRACE_PREFIX)
                and event["aggregation_method"] == "AVG" and event["value_float"] == 0)
    return Kind.TRACE if is_trace else Kind.NUMBER


def number_in(event):
    """Returns whichever number the event has; None if it was not finite."""
    number = event["value_float"]
    return event["value_int"] if number == 0 else number
