#!/usr/bin/env python3
"""Tests that a report has the numbers of its events.

Usage: folding_test.py REPORT_DIRECTORY
"""

import collections
import json
import pathlib
import random
import sys
import tempfile
import unittest

sys.path.insert(0, sys.argv.pop(1))

import sample_events as sample  # noqa: E402
from kiv_telemetry_report import charts, reading, texts, timeline, views  # noqa: E402
from kiv_telemetry_report.facts import Facts, for_script  # noqa: E402
from kiv_telemetry_report.events import Kind, Malformed, parse  # noqa: E402
from kiv_telemetry_report.page import as_json  # noqa: E402
from kiv_telemetry_report.summary import Summary  # noqa: E402
from kiv_telemetry_report.tallies import Total  # noqa: E402

NOON = sample.NOON


def read(content):
    """Returns the summary of a file with this content, and its source."""
    summary = Summary()
    with tempfile.NamedTemporaryFile(suffix=".jsonl") as file:
        file.write(content)
        file.flush()
        source, = reading.read_all([file.name], summary)
    return summary, source


def summary_of(*events):
    return read(sample.lines(events))[0]


def why(line):
    try:
        parse(line)
    except Malformed as error:
        return str(error)
    return None


def changed(**fields):
    return json.dumps({**sample.error(), **fields}).encode()


class CountTest(unittest.TestCase):
    def test_reports_are_counted_and_not_events(self):
        summary = summary_of(sample.error(count=5), sample.stream(count=7), sample.latency(11))
        self.assertEqual(summary.reports, 23)
        self.assertEqual(summary.events[Kind.ERROR].value, 1)

    def test_a_count_beyond_31_bits_is_not_negative(self):
        summary = summary_of(sample.error(count=-(1 << 31)), sample.error(count=-1))
        self.assertEqual(summary.reports, (1 << 31) + (1 << 32) - 1)

    def test_a_size_beyond_31_bits_is_not_negative(self):
        summary = summary_of(sample.stream(samples=-1))
        self.assertEqual([key[5] for key in summary.streams], [(1 << 32) - 1])

    def test_equal_errors_of_different_windows_are_one(self):
        summary = summary_of(sample.error(count=2), sample.error(count=3, end=NOON + 60_000))
        (key, errors), = summary.errors.items()
        self.assertEqual(key, (2, "kiv.MMAP_FAILED", "Mixer", "render"))
        self.assertEqual((errors.reports, errors.span.start.value, errors.span.end.value),
                         (5, NOON - sample.WINDOW, NOON + 60_000))

    def test_errors_that_differ_are_apart(self):
        summary = summary_of(sample.error(), sample.error(severity=3), sample.error(api="open"),
                             sample.error(kiv_class="Other"), sample.error("kiv.OTHER"))
        self.assertEqual(len(summary.errors), 5)

    def test_sessions_of_an_error_are_counted_once(self):
        summary = summary_of(sample.error(session="a.b"), sample.error(session="a.c"),
                             sample.error(session="a.b"))
        self.assertEqual([len(errors.sessions) for errors in summary.errors.values()], [2])
        self.assertEqual(summary.roots, {"a"})


class KindTest(unittest.TestCase):
    def kind_of(self, event):
        summary = summary_of(event)
        return [kind for kind in Kind if summary.events[kind].value]

    def test_every_kind_is_recognized(self):
        for event, kind in (
                (sample.error(), Kind.ERROR),
                (sample.stream(), Kind.STREAM),
                (sample.latency(), Kind.LATENCY),
                (sample.trace("render", 5), Kind.TRACE),
                (sample.trace("render", 0), Kind.TRACE),
                (sample.call("open", "ok"), Kind.CALL),
                (sample.call("open", ""), Kind.CALL),
                (sample.value("container", method="COUNT", text="WAV"), Kind.TEXT),
                (sample.value("container", method="COUNT"), Kind.TEXT),
                (sample.value("ticks", method="COUNT", integer=1), Kind.NUMBER),
                (sample.value("ticks", method="COUNT", real=1.0), Kind.NUMBER),
                (sample.value("client_api_call.x", method="COUNT", integer=1), Kind.NUMBER),
                (sample.value("load"), Kind.NUMBER),
                (sample.value("api_latency_us.x", real=0.5), Kind.NUMBER),
                (sample.value("api_latency_us.x", method="MAX", integer=1), Kind.NUMBER),
                (sample.value("load", real=None), Kind.NUMBER),
                (sample.event("of_tomorrow", NOON, 1), Kind.OTHER)):
            with self.subTest(event=event):
                self.assertEqual(self.kind_of(event), [kind])


class ValueTest(unittest.TestCase):
    def folded(self, *events):
        windows, = summary_of(*events).numbers.values()
        return windows

    def test_averages_are_weighted_by_their_reports(self):
        summary = summary_of(sample.trace("render", 100, 3), sample.trace("render", 500, 1))
        trace = summary.traces["render"]
        self.assertEqual((trace.tally.value, trace.reports), (200, 4))
        self.assertEqual((trace.lowest.value, trace.highest.value), (100, 500))

    def test_averages_of_floats_are_weighted_too(self):
        folded = self.folded(sample.value("load", 3, real=0.5), sample.value("load", 1, real=-2.5))
        self.assertEqual(folded.tally.value, -0.25)

    def test_sums_are_summed(self):
        folded = self.folded(sample.value("frames", 2, "SUM", integer=481),
                             sample.value("frames", 1, "SUM", integer=0),
                             sample.value("frames", 1, "SUM", integer=(1 << 53)))
        self.assertEqual((folded.tally.value, folded.reports), ((1 << 53) + 481, 4))

    def test_counts_are_summed(self):
        folded = self.folded(sample.value("ticks", 2, "COUNT", integer=2),
                             sample.value("ticks", 3, "COUNT", integer=3))
        self.assertEqual(folded.tally.value, 5)

    def test_maxima_and_minima_are_those_of_all_windows(self):
        summary = summary_of(*(sample.value("depth", 1, method, integer=value)
                               for method in ("MAX", "MIN") for value in (-5, -9, -2)))
        self.assertEqual(summary.numbers["depth", "MAX"].tally.value, -2)
        self.assertEqual(summary.numbers["depth", "MIN"].tally.value, -9)

    def test_numbers_that_are_not_finite_are_counted_and_left_out(self):
        folded = self.folded(sample.value("load", 1, real=2.0), sample.value("load", 4, real=None))
        self.assertEqual((folded.tally.value, folded.reports, folded.not_finite), (2.0, 5, 1))

    def test_an_unknown_method_has_no_value(self):
        folded = self.folded(sample.value("load", 2, "MEDIAN", integer=3))
        self.assertEqual((folded.tally.value, folded.reports), (None, 2))

    def test_texts_are_counted_by_name_and_text(self):
        summary = summary_of(sample.value("c", 2, "COUNT", text="a"), sample.call("c", "a", 4),
                             sample.value("c", 3, "COUNT", text="b"),
                             sample.value("c", 5, "COUNT", text="a"))
        self.assertEqual(summary.texts, {("c", "a"): 7, ("c", "b"): 3})
        self.assertEqual(summary.calls, {("c", "a"): 4})


class TimeTest(unittest.TestCase):
    def test_an_event_belongs_to_the_end_of_its_window(self):
        summary = summary_of(sample.error(end=NOON + 1999), sample.error(end=NOON + 2000, count=4))
        rows = [(start, end, tally.value)
                for start, end, _, tally in summary.errors_over_time.rows(1000)]
        self.assertEqual(rows, [(NOON + 1000, NOON + 2000, 1), (NOON + 2000, NOON + 3000, 4)])

    def test_bins_widen_instead_of_becoming_too_many(self):
        times = timeline.Timeline(lambda _: Total())
        for second in range(10_000):
            times.add(NOON + 1000 * second, "", 1)
        self.assertLessEqual(len(times.bins), timeline.MOST_KEPT)
        rows = list(times.rows(300_000))
        self.assertEqual([tally.value for *_, tally in rows], [300] * 33 + [100])
        self.assertEqual(rows[1][0], NOON + 300_000)

    def test_every_width_is_a_multiple_of_the_narrower_ones(self):
        for narrow, wide in zip(timeline.WIDTHS, timeline.WIDTHS[1:]):
            self.assertEqual(wide % narrow, 0)

    def test_the_number_of_shown_bins_is_limited(self):
        for span in (0, 59_000, 60_000, 3_600_000, 86_400_000 * 365, 10**14):
            width = timeline.width_for(NOON, NOON + span)
            self.assertLessEqual((NOON + span) // width - NOON // width, timeline.MOST_SHOWN - 1)

    def test_shown_bins_are_never_narrower_than_kept_ones(self):
        chance = random.Random(3)
        for _ in range(20):
            times = timeline.Timeline(lambda _: Total())
            end = NOON + chance.choice([10**6, 10**7, 10**9, 10**11])
            for _ in range(3000):
                times.add(chance.randint(NOON, end), "", 1)
            self.assertLessEqual(times.width, timeline.width_for(NOON, end))


class IndependentTest(unittest.TestCase):
    """Compares the summary with counts that are made directly from the lines."""

    @classmethod
    def setUpClass(cls):
        cls.events = [json.loads(line) for line in
                      sample.lines([*sample.busy_lab(60), *sample.hostile()]).splitlines()]
        cls.summary, cls.source = read(sample.lines(cls.events))

    def count(self, name, *fields, prefix=None):
        counts = collections.Counter()
        for event in self.events:
            if event["event"] == name and (prefix is None
                                           or event["kiv_event_name"].startswith(prefix)):
                counts[tuple(event[field] for field in fields)] += event["aggregated_count"]
        return counts

    def test_nothing_is_lost(self):
        self.assertEqual(self.summary.reports, sum(e["aggregated_count"] for e in self.events))
        self.assertEqual(self.source.events, len(self.events))

    def test_errors(self):
        counts = self.count("wexo_kiv_error_code", "severity", "kiv_error_code", "kiv_class",
                            "kiv_api")
        self.assertGreater(len(counts), 50)
        self.assertEqual({key: errors.reports for key, errors in self.summary.errors.items()},
                         counts)

    def test_errors_over_time(self):
        counts = collections.Counter()
        for event in self.events:
            if event["event"] == "wexo_kiv_error_code":
                counts[event["end_time_since_epoch"] // 30_000 * 30_000, event["severity"]] += \
                    event["aggregated_count"]
        rows = {(start, key): tally.value
                for start, _, key, tally in self.summary.errors_over_time.rows(30_000)}
        self.assertEqual(rows, counts)

    def test_streams(self):
        counts = self.count("wexo_kiv_stream_event", "kiv_event", "stream_type", "pcm_format",
                            "sample_rate", "channels", "samples", "interleaved")
        self.assertEqual(self.summary.streams, counts)

    def test_latencies(self):
        calls, times = collections.Counter(), collections.Counter()
        for event in self.events:
            if event.get("kiv_event_name", "").startswith("api_latency_us."):
                api = event["kiv_event_name"][len("api_latency_us."):]
                calls[api] += event["aggregated_count"]
                times[api] += event["aggregated_count"] * event["value_int"]
        self.assertEqual({api: w.reports for api, w in self.summary.traces.items()}, calls)
        for api, windows in self.summary.traces.items():
            self.assertAlmostEqual(windows.tally.value, times[api] / calls[api], places=9)

    def test_latencies_over_time(self):
        calls, times = collections.Counter(), collections.Counter()
        for event in self.events:
            if event.get("kiv_event_name", "").startswith("api_latency_us."):
                key = (event["end_time_since_epoch"] // 30_000 * 30_000,
                       event["kiv_event_name"][len("api_latency_us."):])
                calls[key] += event["aggregated_count"]
                times[key] += event["aggregated_count"] * event["value_int"]
        rows = {(start, key): tally.value
                for start, _, key, tally in self.summary.traces_over_time.rows(30_000)}
        self.assertEqual(rows, {key: times[key] / calls[key] for key in calls})

    def test_calls(self):
        counts = self.count("wexo_kiv_generic", "kiv_event_name", "value_string",
                            prefix="client_api_call.")
        self.assertEqual({(f"client_api_call.{api}", result): count
                          for (api, result), count in self.summary.calls.items()}, counts)

    def test_every_table_of_reports_adds_up_to_its_kind(self):
        totals = {"errors-by-code": Kind.ERROR, "errors-by-class": Kind.ERROR,
                  "errors-by-file": Kind.ERROR, "streams": Kind.STREAM, "calls": Kind.CALL,
                  "texts": Kind.TEXT, "failure-rates": Kind.CALL}
        for section in views.sections(self.summary, [self.source]):
            for chart in section.charts:
                if chart.name in totals:
                    titles = [column.title for column in chart.table.columns]
                    column = titles.index("Calls" if "Calls" in titles else "Reports")
                    self.assertEqual(sum(row[column] for row in chart.table.rows),
                                     self.summary.kinds[totals.pop(chart.name)].value)
        self.assertEqual(totals, {})

    def test_cells(self):
        counts = collections.Counter()
        for event in self.events:
            counts[event["end_time_since_epoch"] // 30_000 * 30_000, event["kiv_session_id"]] += \
                event["aggregated_count"]
        sessions = list(self.summary.sessions)
        found = collections.Counter()
        for start, key, cell in self.summary.facts.rows(30_000):
            found[start, sessions[key.session]] += cell.reports
        self.assertEqual(found, counts)


class FileTest(unittest.TestCase):
    """Events of several files."""

    def summary(self, *files, facts=None):
        summary = Summary()
        summary.facts = facts or summary.facts
        for number, events in enumerate(files):
            for event in events:
                summary.add(parse(json.dumps(event).encode()), number)
        return summary

    def test_errors_are_counted_by_file_and_severity(self):
        summary = self.summary(
            [sample.error(count=2), sample.error("kiv.OTHER", count=3, end=NOON + 9000)],
            [sample.error(count=4), sample.error(severity=3)])
        self.assertEqual({key: e.reports for key, e in summary.errors_by_file.items()},
                         {(0, 2): 5, (1, 2): 4, (1, 3): 1})
        self.assertEqual(summary.errors_by_file[0, 2].span.end.value, NOON + 9000)

    def test_an_error_knows_the_number_of_its_files(self):
        summary = self.summary([sample.error()], [sample.error(), sample.error()], [sample.stream()])
        self.assertEqual([len(e.files) for e in summary.errors.values()], [2])

    def test_cells_are_apart_by_file_session_and_time(self):
        summary = self.summary([sample.error(), sample.error(session="b")],
                               [sample.error(), sample.error(count=5, end=NOON + 2000)])
        sessions = list(summary.sessions)
        found = [(start, key.file, sessions[key.session], cell.reports)
                 for start, key, cell in summary.facts.rows(1000)]
        self.assertCountEqual(found, [(NOON, 0, sample.SESSION, 1), (NOON, 0, "b", 1),
                                      (NOON, 1, sample.SESSION, 1),
                                      (NOON + 2000, 1, sample.SESSION, 5)])

    def test_too_many_cells_are_merged_and_none_is_lost(self):
        facts = Facts(most_cells=400)
        events = [sample.error(end=NOON + 1000 * i, session=f"s{i % 7}.x", count=i + 1)
                  for i in range(5000)]
        summary = self.summary(events, facts=facts)
        self.assertLessEqual(len(facts.cells), 400)
        self.assertLessEqual(facts.width, summary.bin_width)
        self.assertEqual(sum(cell.reports for *_, cell in facts.rows(summary.bin_width)),
                         5000 * 5001 // 2)

    def test_sessions_are_merged_where_there_are_too_many(self):
        facts = Facts(most_cells=100)
        events = [sample.error(session=f"s{i}", end=NOON + i % 3 * 1000) for i in range(5000)]
        summary = self.summary(events, facts=facts)
        self.assertEqual(len(facts.cells), 3)
        self.assertIsNone(for_script(facts, summary.bin_width, summary.sessions)["sessions"])
        self.assertEqual(len(summary.sessions), 5000)

    def test_names_of_files_are_as_short_as_they_can_be(self):
        for paths, names in (
                (["/var/log/a/t.jsonl", "/var/log/b/t.jsonl"], ["a", "b"]),
                (["host-1.jsonl", "host-2.jsonl"], ["host-1.jsonl", "host-2.jsonl"]),
                (["/x/a/t.jsonl"], ["t.jsonl"]),
                (["a/t", "a/b/t"], ["t", "b/t"]),
                (["a", "a/b"], ["a", "a/b"]),
                (["standard input", "a/t"], ["standard input", "a/t"])):
            self.assertEqual(texts.short_names(paths), names)


class CallTest(unittest.TestCase):
    def rates(self, summary):
        return {api: (calls.made, calls.failed) for api, calls in summary.failures.items()}

    def test_calls_with_another_result_than_success_have_failed(self):
        summary = summary_of(sample.call("open", "ok", 5), sample.call("open", "OK", 2),
                             sample.call("open", "failed", 3), sample.call("close", "", 1))
        self.assertEqual(self.rates(summary), {"open": (10, 3), "close": (1, 1)})
        self.assertEqual(summary.failures["open"].value, 0.3)

    def test_the_results_of_success_can_be_chosen(self):
        summary = Summary(["done"])
        for event in (sample.call("open", "Done", 5), sample.call("open", "ok", 1)):
            summary.add(event)
        self.assertEqual(self.rates(summary), {"open": (6, 1)})

    def test_rates_over_time_are_of_their_bin(self):
        summary = summary_of(sample.call("open", "ok", 3), sample.call("open", "no", 1),
                             sample.call("open", "no", 2, end=NOON + 5000))
        self.assertEqual([tally.value for *_, tally in summary.failures_over_time.rows(1000)],
                         [0.25, 1.0])

    def test_apis_with_the_most_failures_come_first(self):
        summary = summary_of(sample.call("often", "no", 1), sample.call("often", "ok", 50),
                             sample.call("never", "ok", 900), sample.call("bad", "no", 7))
        self.assertEqual([name for name, _ in views.ranked_failures(summary)],
                         ["bad", "often", "never"])


class TopErrorsTest(unittest.TestCase):
    def test_errors_are_sorted_by_their_number_and_then_by_severity(self):
        summary = summary_of(sample.error("kiv.B", 1, 3), sample.error("kiv.A", 7, 0),
                             sample.error("kiv.C", 1, 2), sample.error("kiv.D", 9, 1))
        self.assertEqual([row[1] for row in views.top_errors(summary).table.rows],
                         ["kiv.D", "kiv.A", "kiv.B", "kiv.C"])


class CutTest(unittest.TestCase):
    def test_a_table_says_how_much_it_leaves_out(self):
        table = charts.cut_table([], [(i, 2) for i in range(205)], lambda row: row[1])
        self.assertEqual((len(table.rows), table.rest), (200, "5 more, with 10 reports in all"))


class UnreadableTest(unittest.TestCase):
    def test_lines_that_are_no_events_are_counted_and_listed(self):
        good = sample.lines([sample.error(count=3)])
        summary, source = read(good + b"torn{\n" + b"\n" + b"[]\n" + good)
        self.assertEqual((summary.reports, source.events, source.unreadable), (6, 2, 2))
        self.assertEqual([number for number, _ in source.shown], [2, 4])

    def test_only_the_first_are_listed(self):
        _, source = read(b"x\n" * 1000)
        self.assertEqual((source.unreadable, len(source.shown)), (1000, reading.MOST_SHOWN))

    def test_a_line_without_end_is_one_unreadable_line(self):
        good = sample.lines([sample.error()])
        long = b"x" * (3 * reading.LONGEST_LINE + 5) + b"\n"
        summary, source = read(long + good)
        self.assertEqual((summary.reports, source.unreadable), (1, 1))
        self.assertEqual(source.shown, [(1, "too long")])

    def test_a_file_may_end_without_a_newline(self):
        summary, _ = read(sample.lines([sample.error()]).rstrip())
        self.assertEqual(summary.reports, 1)

    def test_the_reason_names_the_field(self):
        self.assertEqual(why(changed(aggregated_count=True)), "aggregated_count is not an integer")
        self.assertEqual(why(changed(aggregated_count=1 << 32)), "aggregated_count is out of range")
        self.assertEqual(why(changed(severity="2")), "severity is not an integer")
        self.assertEqual(why(changed(kiv_api=None)), "kiv_api is not a text")
        self.assertEqual(why(changed(end_time_since_epoch=-1)),
                         "end_time_since_epoch is out of range")
        self.assertEqual(why(b'{"event":"wexo_kiv_error_code"}'), "lacks aggregated_count")

    def test_malformed_json_is_refused(self):
        for line in (b"", b"NaN", b'{"event": NaN}', b"\xff", b"[" * 100_000, b"9" * 10_000):
            with self.subTest(line=line[:20]):
                self.assertTrue(why(line).startswith("not JSON"))

    def test_a_number_beyond_floats_is_not_finite(self):
        line = sample.lines([sample.value("load", real=1.0)])
        for number in (b"1e999", b"1" + b"0" * 400):
            summary, source = read(line.replace(b"1.0", number))
            self.assertEqual(source.unreadable, 0)
            self.assertEqual(summary.numbers["load", "AVG"].not_finite, 1)


class TextTest(unittest.TestCase):
    def test_invisible_characters_are_escaped(self):
        self.assertEqual(texts.display("a\u202eb\n\ud800"), "a\\u202eb\\n\\ud800")

    def test_json_cannot_end_its_element(self):
        written = as_json({"text": "</script><!--", "value": float("inf")})
        self.assertNotIn("<", written)
        self.assertEqual(json.loads(written), {"text": "</script><!--", "value": None})

    def test_durations_have_two_units_at_most(self):
        for milliseconds, text in ((0, "0 ms"), (25, "25 ms"), (1500, "1.5 s"), (60_000, "1 min"),
                                   (3_599_600, "1 h"), (12_000_000, "3 h 20 min"),
                                   (90_061_000, "1 d 1 h")):
            self.assertEqual(texts.duration(milliseconds), text)


if __name__ == "__main__":
    unittest.main()
