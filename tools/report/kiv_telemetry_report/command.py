"""The command line."""

import argparse
import pathlib
import sys

from . import reading, texts
from .page import page
from .summary import Summary

DATA = pathlib.Path(__file__).resolve().parent.parent
DEFAULT_OUTPUT = "telemetry-report.html"
STANDARD_OUTPUT = "-"


def parse_arguments(arguments):
    parser = argparse.ArgumentParser(
        prog="kiv-telemetry-report",
        description="Writes one page, which needs nothing else, about telemetry events.")
    parser.add_argument("files", metavar="FILE", nargs="+",
                        help="lines of JSON, as the telemetry module jsonl writes them; "
                             "- for the standard input")
    parser.add_argument("-o", "--output", metavar="PAGE", default=DEFAULT_OUTPUT,
                        help="where to write the page; - for the standard output "
                             "(default: %(default)s)")
    parser.add_argument("-t", "--title", default="Telemetry report", help="of the page")
    return parser.parse_args(arguments)


def tell_unreadable(sources):
    for source in sources:
        for number, reason in source.told:
            print(f"{source.name}:{number}: {texts.display(reason)}", file=sys.stderr)
        if source.unreadable > len(source.told):
            print(f"{source.name}: {source.unreadable:,} lines in all are left out",
                  file=sys.stderr)


def script_in(directory):
    """What draws the charts, if it was built."""
    path = directory / "charts.js"
    return path.read_text(encoding="utf-8") if path.exists() else ""


def write(output, content):
    if output == STANDARD_OUTPUT:
        sys.stdout.buffer.write(content)
        return
    pathlib.Path(output).write_bytes(content)
    print(f"Written to {output}")


def run(arguments):
    reading.check(arguments.files)
    summary = Summary()
    sources = reading.read_all(arguments.files, summary)
    tell_unreadable(sources)
    script = script_in(DATA)
    if not script:
        print("kiv-telemetry-report: built without charts, so there are only tables",
              file=sys.stderr)
    style = (DATA / "page.css").read_text(encoding="utf-8")
    write(arguments.output, page(arguments.title, summary, sources, style, script))


def main():
    arguments = parse_arguments(sys.argv[1:])
    try:
        run(arguments)
    except OSError as error:
        print(f"kiv-telemetry-report: {error.filename or arguments.output}: {error.strerror}",
              file=sys.stderr)
        return 1
    except KeyboardInterrupt:
        return 130
    return 0
