"""How values are written for people. What was reported may be any text, and is not trusted."""

import datetime

SEVERITIES = {0: "INFO", 1: "WARNING", 2: "ERROR", 3: "FATAL"}
LONGEST_TEXT = 300
ELLIPSIS = "…"
NOTHING = "–"


def display(text):
    """Without characters that would not be seen, or that would change how others are."""
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


def count(number):
    return f"{number:,}"


def number(value):
    if value is None:
        return NOTHING
    return f"{value:,}" if isinstance(value, int) else f"{value:,.6g}"


def microseconds(value):
    return NOTHING if value is None else f"{value:,.1f}"


def duration(milliseconds):
    """The two largest units of it, as in "3 h 20 min"."""
    if milliseconds < 1000:
        return f"{milliseconds:,.3g} ms"
    seconds = milliseconds / 1000
    if seconds < 60:
        return f"{seconds:.3g} s"
    minutes, seconds = divmod(round(seconds), 60)
    hours, minutes = divmod(minutes, 60)
    days, hours = divmod(hours, 24)
    units = [(days, "d"), (hours, "h"), (minutes, "min"), (seconds, "s")]
    while units[0][0] == 0:
        units.pop(0)
    return " ".join(f"{amount:,} {unit}" for amount, unit in units[:2] if amount)


def time(milliseconds):
    """In UTC, for hosts may be anywhere."""
    moment = datetime.datetime.fromtimestamp(milliseconds // 1000, datetime.timezone.utc)
    return f"{moment:%Y-%m-%d %H:%M:%S}"


def plural(number, noun):
    return f"{number:,} {noun}" if number == 1 else f"{number:,} {noun}s"
