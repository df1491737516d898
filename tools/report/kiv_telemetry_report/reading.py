"""Files line by line, however large."""

import contextlib
import os
import stat
import sys

from .events import Malformed, parse

try:
    from tqdm import tqdm
except ImportError:  # it only shows how far one is
    tqdm = None

STANDARD_INPUT = "-"
LONGEST_LINE = 1 << 20
STEP = 1 << 18  # bytes between two looks at the progress
MOST_TOLD = 5


class Source:
    """What came of a file."""

    def __init__(self, path):
        self.path = path
        self.events = 0
        self.reports = 0
        self.unreadable = 0
        self.told = []  # the first of the unreadable lines, as (number, why)

    @property
    def name(self):
        return "standard input" if self.path == STANDARD_INPUT else self.path

    def add_unreadable(self, number, reason):
        self.unreadable += 1
        if len(self.told) < MOST_TOLD:
            self.told.append((number, str(reason)))


def open_source(path):
    if path == STANDARD_INPUT:
        return contextlib.nullcontext(sys.stdin.buffer)
    return open(path, "rb")


def check(paths):
    """Raises the error of the first file that cannot be read, before hours go into the others."""
    for path in paths:
        if path != STANDARD_INPUT and not stat.S_ISFIFO(os.stat(path).st_mode):
            with open(path, "rb"):
                pass


def total_size(paths):
    """None if that is not known beforehand."""
    sizes = [os.stat(0 if path == STANDARD_INPUT else path) for path in paths]
    if not all(stat.S_ISREG(size.st_mode) for size in sizes):
        return None
    return sum(size.st_size for size in sizes)


def progress_bar(paths):
    """Shown on a terminal only."""
    if tqdm is None or not sys.stderr.isatty():
        return contextlib.nullcontext()
    return tqdm(total=total_size(paths), unit="B", unit_scale=True, desc="Reading", leave=False)


def lines(file, bar):
    """The lines of a file; one that is too long comes cut."""
    since = 0
    while line := file.readline(LONGEST_LINE):
        since += len(line)
        yield line
        while len(line) == LONGEST_LINE and not line.endswith(b"\n"):
            line = file.readline(LONGEST_LINE)
            since += len(line)
        if bar is not None and since >= STEP:
            bar.update(since)
            since = 0
    if bar is not None:
        bar.update(since)


def read(path, summary, bar):
    """Adds a file to the summary."""
    source = Source(path)
    with open_source(path) as file:
        for number, line in enumerate(lines(file, bar), start=1):
            if line.isspace():
                continue
            try:
                if len(line) == LONGEST_LINE and not line.endswith(b"\n"):
                    raise Malformed("too long")
                event = parse(line)
            except Malformed as error:
                source.add_unreadable(number, error)
                continue
            summary.add(event)
            source.events += 1
            source.reports += event["aggregated_count"]
    return source


def read_all(paths, summary):
    with progress_bar(paths) as bar:
        return [read(path, summary, bar) for path in paths]
