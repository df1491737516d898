"""Formats of values. Reported texts are untrusted: they may be anything."""

import datetime
import math

SEVERITIES = {0: "INFO", 1: "WARNING", 2: "ERROR", 3: "FATAL"}
LONGEST_TEXT = 300
LARGE = 1_000_000  # beyond it numbers have no fraction
ELLIPSIS = "…"
NOTHING = "–"


def display(text):
    """Escapes characters that are invisible, or that change how others are shown."""
    if len(text) > LONGEST_TEXT:
        text = text[:LONGEST_TEXT - 1] + ELLIPSIS
    if text.isprintable():
        return text or "(empty)"
    return "".join(c if c.isprintable() else c.encode("unicode_escape").decode() for c in text)


def severity(number):
    return SEVERITIES.get(number, f"severity {number}")


def stream_type(text):
    return display(text.removeprefix("KIV_STREAM_TYPE_"))


def pcm_format(text):
    return display(text.removeprefix("AUDIO_FORMAT_")) if text else "(unknown)"


def tenths(value):
    """Formats a number with one digit, with the same operations as the page's script."""
    return f"{math.floor(value * 10 + 0.5) / 10:,.1f}"


def yes_or_no(value):
    return "yes" if value else "no"


def share(value):
    return NOTHING if value is None else f"{tenths(100 * value)} %"


def short_names(paths):
    """Names for files that are as short as they can be and still differ: without the directories and
    the last components that all paths share. Equal paths keep equal names."""
    split = [path.split("/") for path in paths]
    if len(set(paths)) < 2:
        return [parts[-1] for parts in split]
    while len({parts[0] for parts in split}) == 1 and all(len(parts) > 1 for parts in split):
        split = [parts[1:] for parts in split]
    while len({parts[-1] for parts in split}) == 1 and all(len(parts) > 1 for parts in split):
        split = [parts[:-1] for parts in split]
    return ["/".join(parts) for parts in split]


def count(number):
    return f"{number:,}"


def number(value):
    if value is None:
        return NOTHING
    if isinstance(value, int):
        return f"{value:,}"
    return f"{value:,.6g}" if abs(value) < LARGE else f"{value:,.0f}"


def microseconds(value):
    return NOTHING if value is None else tenths(value)


def duration(milliseconds):
    """Formats a time with its two largest units, as in "3 h 20 min"."""
    if milliseconds < 999.5:
        return f"{milliseconds:,.3g} ms"
    seconds = milliseconds / 1000
    if seconds < 59.95:
        return f"{seconds:.3g} s"
    minutes, seconds = divmod(round(seconds), 60)
    hours, minutes = divmod(minutes, 60)
    days, hours = divmod(hours, 24)
    units = [(days, "d"), (hours, "h"), (minutes, "min"), (seconds, "s")]
    while units[0][0] == 0:
        units.pop(0)
    return " ".join(f"{amount:,} {unit}" for amount, unit in units[:2] if amount)


def time(milliseconds):
    """Formats a time since the epoch in UTC, because hosts may be in any time zone."""
    moment = datetime.datetime.fromtimestamp(milliseconds // 1000, datetime.timezone.utc)
    return f"{moment:%Y-%m-%d %H:%M:%S}"


def plural(number, noun):
    return f"{number:,} {noun}" if number == 1 else f"{number:,} {noun}s"
