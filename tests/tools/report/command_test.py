#!/usr/bin/env python3
"""Tests of the command that makes the report.

Usage: command_test.py COMMAND REPORTER MODULE_DIRECTORY
"""

import gzip
import html.parser
import os
import pathlib
import subprocess
import sys
import tempfile
import unittest

sys.path.insert(0, str(pathlib.Path(__file__).resolve().parent.parent))

import real_events  # noqa: E402
import sample_events as sample  # noqa: E402

COMMAND, REPORTER, MODULE = map(os.path.abspath, sys.argv[1:4])
del sys.argv[1:]


class Page(html.parser.HTMLParser):
    """The tables of a page by the id of their figure, and its tiles by their name."""

    def __init__(self, content):
        super().__init__()
        self.tables, self.texts, self.tags, self.tiles = {}, [], [], {}
        self.figure = self.row = self.tile = None
        self.feed(content)

    def handle_starttag(self, tag, attributes):
        self.tags.append(tag)
        if tag == "figure":
            self.figure = dict(attributes)["id"]
            self.tables[self.figure] = []
        elif "data-tile" in dict(attributes):
            self.tile = self.tiles[dict(attributes)["data-tile"]] = []
        elif tag == "main":
            self.tile = None
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
        if self.tile is not None:
            self.tile.append(text)
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

    def test_the_numbers_of_a_real_program_are_right(self):
        path = self.directory / "real.jsonl"
        events = real_events.parse(real_events.report(REPORTER, MODULE, path))
        page = self.report(path)
        errors = {tuple(row[:4]): row[4] for row in page.rows("top-errors")}
        self.assertEqual(errors, {
            ("FATAL", "kiv.MMAP_FAILED=-12", "Mixer", "render"): "2",
            ("ERROR", "kiv.MMAP_FAILED=-12", "Mixer", "render"): "4",
            ("ERROR", "it's \"quoted\" </script> über", "SampleReporter", "open;"): "2",
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
        self.assertEqual(page.rows("files"), [[str(path), str(len(events)), str(reports), "0", " "]])
        self.assertEqual(page.rows("failure-rates"), [["openStream", "2", "0", "0.0 %"]])

    def test_several_files_are_one_report(self):
        page = self.report(self.file(sample.error(count=2), name="a.jsonl"),
                           self.file(sample.error(count=3), name="b.jsonl"))
        self.assertEqual([row[4] for row in page.rows("top-errors")], ["5"])
        self.assertEqual([row[1:] for row in page.rows("files")],
                         [["1", "2", "0", " "], ["1", "3", "0", " "]])

    def test_the_files_that_have_the_errors_are_named(self):
        page = self.report(
            self.file(sample.error(count=2), sample.error(count=1, severity=3), name="lab-1.jsonl"),
            self.file(sample.error(count=5, end=sample.NOON + 60_000), name="lab-2.jsonl"),
            self.file(sample.stream(), name="lab-3.jsonl"))
        self.assertEqual(page.rows("errors-by-file"), [
            ["lab-2.jsonl", "ERROR", "5", "2025-06-15 12:00:55", "2025-06-15 12:01:00"],
            ["lab-1.jsonl", "ERROR", "2", "2025-06-15 11:59:55", "2025-06-15 12:00:00"],
            ["lab-1.jsonl", "FATAL", "1", "2025-06-15 11:59:55", "2025-06-15 12:00:00"]])
        self.assertEqual([row[5] for row in page.rows("top-errors")], ["2", "1"])

    def test_a_file_that_is_named_twice_is_read_once(self):
        path = self.file(sample.error(count=2), name="a.jsonl")
        link = self.directory / "link.jsonl"
        link.symlink_to(path)
        for again in (path, link, f"{self.directory}/../{self.directory.name}/a.jsonl"):
            result = self.run_command("-o", self.page, path, again)
            self.assertIn(f"{path}: named more than once; read once\n", result.stderr.decode())
            page = Page(self.page.read_text(encoding="utf-8"))
            self.assertEqual(page.rows("files"),
                             [[str(path), "1", "2", "0", "named more than once; read once"]])

    def test_a_copy_of_a_file_is_noticed(self):
        path = self.file(sample.error(count=2), name="a.jsonl")
        copy = self.file(sample.error(count=2), name="b.jsonl")
        packed = self.directory / "c.jsonl.gz"
        packed.write_bytes(gzip.compress(path.read_bytes()))
        result = self.run_command("-o", self.page, path, copy, packed)
        for name in (copy, packed):
            self.assertIn(f"{name}: the same contents as {path}; both are counted\n",
                          result.stderr.decode())
        page = Page(self.page.read_text(encoding="utf-8"))
        self.assertEqual(page.tiles["reports"][1], "6")

    def test_files_without_a_line_are_no_copies(self):
        result = self.run_command("-o", self.page, self.file(name="a.jsonl"),
                                  self.file(name="b.jsonl"))
        self.assertNotIn(b"contents", result.stderr)

    def test_compressed_files_are_read_whatever_their_name(self):
        for name in ("events.jsonl.gz", "events.jsonl"):
            path = self.directory / name
            path.write_bytes(gzip.compress(sample.lines([sample.error(count=4)])))
            self.assertEqual([row[1:] for row in self.report(path).rows("files")],
                             [["1", "4", "0", " "]])

    def test_compressed_files_of_several_members_are_read(self):
        path = self.directory / "events.gz"
        path.write_bytes(gzip.compress(sample.lines([sample.error(count=4)]))
                         + gzip.compress(sample.lines([sample.error(count=5)])))
        self.assertEqual(self.report(path).tiles["reports"][1], "9")

    def test_compressed_events_can_come_from_the_standard_input(self):
        page = self.report("-", input=gzip.compress(sample.lines([sample.error(count=4)])))
        self.assertEqual(page.rows("files"), [["standard input", "1", "4", "0", " "]])

    def test_a_compressed_file_is_read_up_to_its_damage(self):
        whole = gzip.compress(sample.lines(sample.busy_lab(40)))
        for damaged in (whole[:len(whole) // 2], whole[:len(whole) // 2] + bytes(2000)):
            path = self.directory / "events.gz"
            path.write_bytes(damaged)
            result = self.run_command("-o", self.page, path)
            self.assertIn(b"damaged gzip file", result.stderr)
            (row,) = Page(self.page.read_text(encoding="utf-8")).rows("files")
            self.assertGreater(int(row[1].replace(",", "")), 100)
            self.assertEqual(row[4], "damaged gzip file; read up to the damage")

    def test_a_file_without_any_readable_line_is_an_error(self):
        bad = self.directory / "bad.jsonl"
        bad.write_bytes(b"2026-01-01 12:00:00 a log of something else\n")
        result = self.run_command("-o", self.page, self.file(sample.error(count=3)), bad, status=1)
        self.assertIn(f"{bad}: no line is an event\n", result.stderr.decode())
        # The page about the other files is written.
        page = Page(self.page.read_text(encoding="utf-8"))
        self.assertEqual(page.tiles["reports"][1], "3")

    def test_an_empty_file_is_no_error(self):
        for content in (b"", b"\n\n"):
            path = self.directory / "empty.jsonl"
            path.write_bytes(content)
            self.run_command("-o", self.page, path)

    def test_failure_rates_follow_the_chosen_results(self):
        path = self.file(sample.call("open", "ok", 3), sample.call("open", "Cached", 1))
        self.assertEqual(self.report(path).rows("failure-rates"), [["open", "4", "1", "25.0 %"]])
        page = self.report("--success", "ok", "--success", "cached", path)
        self.assertEqual(page.rows("failure-rates"), [["open", "4", "0", "0.0 %"]])
        self.assertEqual(page.tiles["failed"][1:], ["0", "0.0 % of 4"])

    def test_large_numbers_are_whole_in_their_tiles(self):
        page = self.report(self.file(*[sample.error(count=(1 << 31) - 1)] * 2))
        self.assertEqual(page.tiles["reports"][1], "4,294,967,294")

    def test_events_can_come_from_the_standard_input(self):
        page = self.report("-", input=sample.lines([sample.error(count=4)]))
        self.assertEqual(page.rows("files"), [["standard input", "1", "4", "0", " "]])

    def test_events_can_come_through_a_pipe_with_a_name(self):
        pipe = self.directory / "pipe"
        os.mkfifo(pipe)
        writer = subprocess.Popen(["dd", "status=none", f"if={self.file(sample.error())}",
                                   f"of={pipe}"])
        self.addCleanup(writer.wait)
        self.addCleanup(writer.kill)
        self.assertEqual([row[1:] for row in self.report(pipe).rows("files")],
                         [["1", "1", "0", " "]])

    def test_the_page_can_go_to_the_standard_output(self):
        result = self.run_command("-o", "-", self.file(sample.error()))
        self.assertTrue(result.stdout.startswith(b"<!DOCTYPE html>\n<html"))

    def test_the_page_has_its_title_and_time(self):
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

    def test_a_title_may_be_invalid_utf_8(self):
        page = self.report("--title", os.fsdecode(b"caf\xe9"), self.file(sample.error()))
        self.assertIn("caf?", page.texts)

    def test_a_report_of_no_events_has_no_charts(self):
        page = self.report(self.file())
        self.assertIn("No events.", page.texts)
        self.assertEqual(list(page.tables), ["files"])

    def test_lines_that_are_no_events_are_printed(self):
        path = self.file(sample.error(), end=b"<b>\n" * 9)
        result = self.run_command("-o", self.page, path)
        printed = result.stderr.decode().splitlines()
        self.assertRegex(printed[0], rf"^{path}:2: not JSON: ")
        self.assertIn(f"{path}: left out 9 lines in all", printed)
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
