"""Reads files line by line, so that their size does not matter."""

import contextlib
import gzip
import hashlib
import io
import os
import stat
import sys
import zlib

from .events import Malformed, parse

try:
    from tqdm import tqdm
except ImportError:  # only needed for the progress bar
    tqdm = None

STANDARD_INPUT = "-"
LONGEST_LINE = 1 << 20
STEP = 1 << 18  # bytes between two updates of the progress bar
MOST_SHOWN = 5
GZIP_MAGIC = b"\x1f\x8b"


class Source:
    """The result of reading one file."""

    def __init__(self, path):
        self.path = path
        self.events = 0
        self.reports = 0
        self.lines = 0  # without blank ones
        self.unreadable = 0
        self.shown = []  # the first unreadable lines, as (number, reason)
        self.remark = ""
        self.digest = None  # of the contents

    @property
    def name(self):
        return "standard input" if self.path == STANDARD_INPUT else self.path

    @property
    def failed(self):
        """True if the file has lines and none of them is an event."""
        return self.unreadable > 0 and self.events == 0

    def add_unreadable(self, number, reason):
        self.unreadable += 1
        if len(self.shown) < MOST_SHOWN:
            self.shown.append((number, str(reason)))


class CountingReader(io.RawIOBase):
    """Passes a file through, and counts the bytes that were read for the progress bar."""

    def __init__(self, file, bar):
        super().__init__()
        self.file, self.bar, self.since = file, bar, 0

    def readable(self):
        return True

    def readinto(self, buffer):
        data = self.file.read1(len(buffer))
        buffer[:len(data)] = data
        self.since += len(data)
        if self.bar is not None and (self.since >= STEP or not data):
            self.bar.update(self.since)
            self.since = 0
        return len(data)


def open_source(path):
    if path == STANDARD_INPUT:
        return contextlib.nullcontext(sys.stdin.buffer)
    return open(path, "rb")


def decompressed(file, bar):
    """The contents of a file, which may be compressed with gzip, whatever its name."""
    counted = io.BufferedReader(CountingReader(file, bar), STEP)
    if counted.peek(len(GZIP_MAGIC)).startswith(GZIP_MAGIC):
        return io.BufferedReader(gzip.GzipFile(fileobj=counted), STEP)
    return counted


def check(paths):
    """Raises the error of the first file that cannot be opened, before the others are read."""
    for path in paths:
        if path != STANDARD_INPUT and not stat.S_ISFIFO(os.stat(path).st_mode):
            with open(path, "rb"):
                pass


def total_size(paths):
    """The size of all files, or None if it is unknown."""
    sizes = [os.stat(0 if path == STANDARD_INPUT else path) for path in paths]
    if not all(stat.S_ISREG(size.st_mode) for size in sizes):
        return None
    return sum(size.st_size for size in sizes)


def progress_bar(paths):
    """A progress bar if the standard error is a terminal."""
    if tqdm is None or not sys.stderr.isatty():
        return contextlib.nullcontext()
    return tqdm(total=total_size(paths), unit="B", unit_scale=True, desc="Reading", leave=False)


def lines(file, digest):
    """Yields the lines of a file; one that is too long is cut."""
    while line := file.readline(LONGEST_LINE):
        digest.update(line)
        yield line
        while len(line) == LONGEST_LINE and not line.endswith(b"\n"):
            line = file.readline(LONGEST_LINE)
            digest.update(line)


def parse_line(line):
    if len(line) == LONGEST_LINE and not line.endswith(b"\n"):
        raise Malformed("too long")
    return parse(line)


def read(path, number, summary, bar):
    """Adds the file with this number to the summary."""
    source = Source(path)
    digest = hashlib.blake2b(digest_size=16)
    with open_source(path) as file:
        line_number = 0
        try:
            for line_number, line in enumerate(lines(decompressed(file, bar), digest), start=1):
                if line.isspace():
                    continue
                try:
                    event = parse_line(line)
                except Malformed as error:
                    source.add_unreadable(line_number, error)
                    continue
                summary.add(event, number)
                source.events += 1
                source.reports += event["aggregated_count"]
        except (EOFError, zlib.error, gzip.BadGzipFile) as error:
            source.add_unreadable(line_number + 1, f"damaged gzip file: {error}")
            source.remark = "damaged gzip file; read up to the damage"
    source.digest = digest.digest()
    return source


def identity(path):
    """What is equal for two names of the same file. A pipe is read from where it is."""
    status = os.stat(0 if path == STANDARD_INPUT else path)
    if not stat.S_ISREG(status.st_mode):
        return path
    return status.st_dev, status.st_ino


def read_all(paths, summary):
    """Reads all files into the summary. A file that is named twice is read once."""
    names = {}
    for path in paths:
        names.setdefault(identity(path), []).append(path)
    sources = []
    with progress_bar([found[0] for found in names.values()]) as bar:
        for found in names.values():
            source = read(found[0], len(sources), summary, bar)
            if len(found) > 1:
                source.remark = "named more than once; read once"
            sources.append(source)
    first = {}
    for source in sources:
        same = first.setdefault(source.digest, source)
        if same is not source and source.events:
            source.remark = f"the same contents as {same.name}; both are counted"
    return sources
