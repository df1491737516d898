"""The command line."""

import argparse
import pathlib
import sys

from . import reading, texts
from .page import page
from .summary import SUCCESS, Summary

DATA = pathlib.Path(__file__).resolve().parent.parent
DEFAULT_OUTPUT = "telemetry-report.html"
STANDARD_OUTPUT = "-"


def parse_arguments(arguments):
    parser = argparse.ArgumentParser(
        prog="kiv-telemetry-report",
        description="Writes a page of charts and tables about telemetry events. The page is one file "
                    "that needs no other.")
    parser.add_argument("files", metavar="FILE", nargs="+",
                        help="lines of JSON, as the telemetry module jsonl writes them, also "
                             "compressed with gzip; - for the standard input. Name files by their "
                             "hosts: the page can compare and filter them")
    parser.add_argument("-o", "--output", metavar="PAGE", default=DEFAULT_OUTPUT,
                        help="where to write the page; - for the standard output "
                             "(default: %(default)s)")
    parser.add_argument("-t", "--title", default="Telemetry report", help="the page's title")
    parser.add_argument("-s", "--success", metavar="RESULT", action="append",
                        help="a result of client calls that is no failure; may be repeated "
                             f"(default: {', '.join(SUCCESS)})")
    return parser.parse_args(arguments)


def print_problems(sources):
    for source in sources:
        for number, reason in source.shown:
            print(f"{source.name}:{number}: {texts.display(reason)}", file=sys.stderr)
        if source.unreadable > len(source.shown):
            print(f"{source.name}: left out {source.unreadable:,} lines in all", file=sys.stderr)
        if source.failed:
            print(f"{source.name}: no line is an event", file=sys.stderr)
        if source.remark:
            print(f"{source.name}: {source.remark}", file=sys.stderr)


def script_in(directory):
    """The script that draws the charts, or "" if it was not built."""
    path = directory / "charts.js"
    return path.read_text(encoding="utf-8") if path.exists() else ""


def write(output, content):
    if output == STANDARD_OUTPUT:
        sys.stdout.buffer.write(content)
        return
    pathlib.Path(output).write_bytes(content)
    print(f"Written to {output}")


def run(arguments):
    """Writes the page, and returns the exit status."""
    reading.check(arguments.files)
    summary = Summary([result.lower() for result in arguments.success or SUCCESS])
    sources = reading.read_all(arguments.files, summary)
    print_problems(sources)
    script = script_in(DATA)
    if not script:
        print("kiv-telemetry-report: built without charts; the page has tables only",
              file=sys.stderr)
    style = (DATA / "page.css").read_text(encoding="utf-8")
    write(arguments.output, page(arguments.title, summary, sources, style, script))
    return 1 if any(source.failed for source in sources) else 0


def main():
    arguments = parse_arguments(sys.argv[1:])
    try:
        return run(arguments)
    except OSError as error:
        print(f"kiv-telemetry-report: {error.filename or arguments.output}: {error.strerror}",
              file=sys.stderr)
        return 1
    except KeyboardInterrupt:
        return 130
