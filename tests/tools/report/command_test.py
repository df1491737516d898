#!/usr/bin/env python3
"""The command that makes the report.

Usage: command_test.py COMMAND REPORTER MODULE_DIRECTORY
"""

import html.parser
import os
import pathlib
import subprocess
import sys
import tempfile
import unittest

sys.path.insert(0, str(pathlib.Path(__file__).resolve().parent.parent))

import desk  # noqa: E402
import sample_events as sample  # noqa: E402

COMMAND, REPORTER, MODULE = map(os.path.abspath, sys.argv[1:4])
del sys.argv[1:]


class Page(html.parser.HTMLParser):
    """The tables of a page, by the id of the figure that they are in."""

    def __init__(self, content):
        super().__init__()
        self.tables, self.texts, self.tags = {}, [], []
        self.figure = self.row = None
        self.feed(content)

    def handle_starttag(self, tag, attributes):
        self.tags.append(tag)
        if tag == "figure":
            self.figure = dict(attributes)["id"]
            self.tables[self.figure] = []
        elif tag == "tr":
            self.row = []
            self.tables[self.figure].append(self.row)
        elif tag in ("td", "th"):
            self.row.append("")

    def handle_endtag(self, tag):
        if tag == "tr":
            self.row = None

    def handle_data(self, text):
        self.texts.append(text)
        if self.row:
            self.row[-1] += text

    def rows(self, figure):
        return self.tables[figure][1:]


class CommandTest(unittest.TestCase):
    def setUp(self):
        directory = tempfile.TemporaryDirectory()
        self.addCleanup(directory.cleanup)
        self.directory = pathlib.Path(directory.name)
        self.page = self.directory / "page.html"

    def file(self, *events, name="events.jsonl", end=b""):
        path = self.directory / name
        path.write_bytes(sample.lines(events) + end)
        return path

    def run_command(self, *arguments, status=0, **options):
        result = subprocess.run([sys.executable, COMMAND, *map(str, arguments)],
                                capture_output=True, cwd=self.directory, timeout=60, **options)
        self.assertEqual(result.returncode, status, result.stderr.decode())
        return result

    def report(self, *arguments, **options):
        self.run_command("-o", self.page, *arguments, **options)
        return Page(self.page.read_text(encoding="utf-8"))

    def test_real_events_have_their_numbers(self):
        path = self.directory / "real.jsonl"
        events = desk.parse(desk.report(REPORTER, MODULE, path))
        page = self.report(path)
        errors = {tuple(row[:4]): row[4] for row in page.rows("top-errors")}
        self.assertEqual(errors, {
            ("FATAL", "kiv.MMAP_FAILED=-12", "Mixer", "render"): "2",
            ("ERROR", "kiv.MMAP_FAILED=-12", "Mixer", "render"): "4",
            ("ERROR", "it's \"quoted\" </script> über", "DeskReporter", "open;"): "2",
            ("WARNING", "kiv.MMAP_FAILED=-12", "Mixer", "render"): "2",
            ("INFO", "kiv.MMAP_FAILED=-12", "Mixer", "render"): "2",
        })
        # Once 100 and three times 300 microseconds.
        self.assertEqual([row[:5] for row in page.rows("latencies")],
                         [["render", "4", "250.0", "100", "300"]])
        self.assertEqual([row[:4] for row in page.rows("numbers")], [
            ["load", "AVG", "1.25", "4"],
            ["depth", "MAX", "21", "2"],
            ["frames", "SUM", "1,920", "2"],
            ["room", "MIN", "-9", "2"],
            ["ticks", "COUNT", "2", "2"],
        ])
        self.assertEqual(page.rows("streams"), [
            ["start", "OBJECT", "PCM_FLOAT", "44,100", "2", "480", "yes", "4"],
            ["stop", "7", "(unknown)", "0", "16", "4,294,967,295", "no", "2"],
        ])
        self.assertEqual(page.rows("audio-latencies"), [["2", "2"]])
        self.assertEqual(page.rows("calls"), [["openStream", "ok", "2"]])
        self.assertEqual(page.rows("texts"), [["container", "WAV", "2"]])
        reports = sum(event["aggregated_count"] for event in events)
        self.assertEqual(page.rows("files"), [[str(path), str(len(events)), str(reports), "0"]])

    def test_several_files_are_one_report(self):
        page = self.report(self.file(sample.error(count=2), name="a.jsonl"),
                           self.file(sample.error(count=3), name="b.jsonl"))
        self.assertEqual([row[4] for row in page.rows("top-errors")], ["5"])
        self.assertEqual([row[1:] for row in page.rows("files")],
                         [["1", "2", "0"], ["1", "3", "0"]])

    def test_events_can_come_from_the_standard_input(self):
        page = self.report("-", input=sample.lines([sample.error(count=4)]))
        self.assertEqual(page.rows("files"), [["standard input", "1", "4", "0"]])

    def test_events_can_come_through_a_pipe_with_a_name(self):
        pipe = self.directory / "pipe"
        os.mkfifo(pipe)
        writer = subprocess.Popen(["dd", "status=none", f"if={self.file(sample.error())}",
                                   f"of={pipe}"])
        self.addCleanup(writer.wait)
        self.addCleanup(writer.kill)
        self.assertEqual([row[1:] for row in self.report(pipe).rows("files")], [["1", "1", "0"]])

    def test_the_page_can_go_to_the_standard_output(self):
        result = self.run_command("-o", "-", self.file(sample.error()))
        self.assertTrue(result.stdout.startswith(b"<!DOCTYPE html>\n<html"))

    def test_the_page_says_what_it_is_about(self):
        page = self.report("--title", "Lab <7>", self.file(sample.error()))
        self.assertEqual(page.texts.count("Lab <7>"), 2)
        self.assertIn("2025-06-15 11:59:55 to 2025-06-15 12:00:00 UTC (5 s)", page.texts)

    def test_hostile_texts_make_no_elements(self):
        page = self.report(self.file(*sample.hostile()), "--title", sample.HOSTILE[1])
        for tag in ("img", "svg", "b"):
            self.assertNotIn(tag, page.tags)
        shown = {row[1] for row in page.rows("top-errors")}
        self.assertEqual(len(shown), len(sample.HOSTILE))
        self.assertIn("</script><script>window.hurt = 1</script>", shown)

    def test_a_title_need_not_be_text(self):
        page = self.report("--title", os.fsdecode(b"caf\xe9"), self.file(sample.error()))
        self.assertIn("caf?", page.texts)

    def test_no_events_are_a_report_too(self):
        page = self.report(self.file())
        self.assertIn("No events.", page.texts)
        self.assertEqual(list(page.tables), ["files"])

    def test_lines_that_are_no_events_are_told(self):
        path = self.file(sample.error(), end=b"<b>\n" * 9)
        result = self.run_command("-o", self.page, path)
        told = result.stderr.decode().splitlines()
        self.assertRegex(told[0], rf"^{path}:2: not JSON: ")
        self.assertIn(f"{path}: 9 lines in all are left out", told)
        page = Page(self.page.read_text(encoding="utf-8"))
        self.assertEqual(len(page.rows("unreadable")), 5)
        self.assertEqual([row[3] for row in page.rows("files")], ["9"])

    def test_a_missing_file_is_an_error_before_others_are_read(self):
        endless = self.directory / "endless"
        os.mkfifo(endless)
        result = self.run_command("-o", self.page, endless, "missing.jsonl", status=1)
        self.assertEqual(result.stderr.decode(),
                         "kiv-telemetry-report: missing.jsonl: No such file or directory\n")
        self.assertFalse(self.page.exists())

    def test_a_directory_is_an_error(self):
        result = self.run_command(self.directory, status=1)
        self.assertIn(b"Is a directory", result.stderr)

    def test_a_page_that_cannot_be_written_is_an_error(self):
        result = self.run_command("-o", "missing/page.html", self.file(sample.error()), status=1)
        self.assertIn(b"missing/page.html: No such file or directory", result.stderr)

    def test_a_command_line_without_files_is_refused(self):
        self.assertIn(b"usage:", self.run_command(status=2).stderr)

    def test_the_same_events_make_the_same_page(self):
        path = self.file(*sample.busy_lab(5))
        pages = [self.run_command("-o", "-", path).stdout for _ in range(2)]
        self.assertEqual(pages[0], pages[1])


if __name__ == "__main__":
    unittest.main()
