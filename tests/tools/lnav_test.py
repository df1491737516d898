#!/usr/bin/env python3
"""Tests that the log viewer reads the module's lines.

Usage: lnav_test.py LNAV_DIRECTORY REPORTER MODULE_DIRECTORY
"""

import datetime
import json
import os
import pathlib
import re
import subprocess
import sys
import tempfile
import unittest

import real_events

FORMATS, REPORTER, MODULE = sys.argv[1], sys.argv[2], sys.argv[3]
del sys.argv[1:]

LEVELS = {0: "info", 1: "warning", 2: "error", 3: "fatal"}


def written(milliseconds):
    """Formats a time as the viewer does, in UTC."""
    moment = datetime.datetime.fromtimestamp(milliseconds // 1000, datetime.timezone.utc)
    return f"{moment:%Y-%m-%d %H:%M:%S}.{milliseconds % 1000:03}"


class LnavTest(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        cls.directory = tempfile.TemporaryDirectory()
        cls.addClassCleanup(cls.directory.cleanup)
        cls.file = pathlib.Path(cls.directory.name) / "events.jsonl"
        first = real_events.report(REPORTER, MODULE, cls.file.with_suffix(".1"))
        second = real_events.report(REPORTER, MODULE, cls.file.with_suffix(".2"))
        # In a file that several processes share, a later line may have an earlier time.
        cls.file.write_bytes(second + first)
        cls.events = real_events.parse(second + first)

    def lnav(self, *arguments):
        environment = {**os.environ, "HOME": self.directory.name, "XDG_CONFIG_HOME": "",
                       "TZ": "America/New_York"}
        result = subprocess.run(["lnav", "-I", FORMATS, *arguments], env=environment,
                                stdin=subprocess.DEVNULL, capture_output=True, check=True)
        self.assertEqual(result.stderr, b"")  # The exit status is 0 even after errors.
        return result.stdout.decode()

    def rows(self, query):
        return json.loads(self.lnav("-n", "-c", f";{query}", "-c", ":write-json-to -",
                                    str(self.file)))

    def assert_rows(self, found, expected):
        """Compares rows without their order."""
        self.assertGreater(len(expected), 0)
        self.assertCountEqual([sorted(row.items()) for row in found],
                              [sorted(row.items()) for row in expected])

    def of(self, name, *fields):
        return [{field: event[field] for field in fields}
                for event in self.events if event["event"] == name]

    def values_of(self, kind):
        prefix = "api_latency_us.", "client_api_call."
        for event in self.events:
            if event["event"] != "wexo_kiv_generic":
                continue
            found = next((p for p in prefix if event["kiv_event_name"].startswith(p)), "")
            if found == kind:
                yield {**event, "api": event["kiv_event_name"][len(found):]}

    def test_the_format_is_valid(self):
        self.assertEqual(self.lnav("-C"), "")

    def test_every_event_is_a_row_of_its_own_time_and_level(self):
        found = self.rows("SELECT log_time, log_level, event FROM kivtelemetry")
        self.assert_rows(found, [
            {"log_time": written(event["end_time_since_epoch"]), "event": event["event"],
             "log_level": LEVELS[event.get("severity", 0)]} for event in self.events])

    def test_rows_come_in_the_order_of_time(self):
        times = [event["end_time_since_epoch"] for event in self.events]
        self.assertNotEqual(times, sorted(times))
        found = self.rows("SELECT log_time FROM kivtelemetry ORDER BY log_line")
        self.assertEqual([row["log_time"] for row in found], [written(t) for t in sorted(times)])

    def test_columns_have_the_types_of_their_fields(self):
        columns = self.rows("SELECT name, type FROM pragma_table_info('kivtelemetry')")
        types = {column["name"]: column["type"] for column in columns}
        names = {str: "TEXT", int: "INTEGER", float: "FLOAT"}
        expected = {field: names[type(value)] for event in self.events
                    for field, value in event.items()}
        del expected["end_time_since_epoch"]  # It is log_time.
        self.assertEqual({field: types.get(field) for field in expected}, expected)

    def test_errors_have_their_columns(self):
        fields = ("aggregated_count", "kiv_class", "kiv_api", "kiv_error_code", "kiv_session_id")
        self.assert_rows(self.rows(f"SELECT {', '.join(fields)} FROM kiv_errors"),
                         self.of("wexo_kiv_error_code", *fields))

    def test_streams_have_their_columns(self):
        fields = ("aggregated_count", "kiv_event", "stream_type", "pcm_format", "sample_rate",
                  "channels", "samples", "interleaved", "kiv_session_id")
        self.assert_rows(self.rows(f"SELECT {', '.join(fields)} FROM kiv_streams"),
                         self.of("wexo_kiv_stream_event", *fields))

    def test_audio_latencies_have_their_columns(self):
        fields = ("aggregated_count", "aggregation_method", "kiv_session_id")
        self.assert_rows(self.rows(f"SELECT {', '.join(fields)} FROM kiv_audio_latencies"),
                         self.of("", *fields))

    def test_traces_have_their_columns(self):
        found = self.rows("SELECT api, aggregated_count, mean_us FROM kiv_traces")
        self.assert_rows(found, [
            {"api": event["api"], "aggregated_count": event["aggregated_count"],
             "mean_us": event["value_int"]} for event in self.values_of("api_latency_us.")])

    def test_client_calls_have_their_columns(self):
        found = self.rows("SELECT api, aggregated_count, result FROM kiv_client_calls")
        self.assert_rows(found, [
            {"api": event["api"], "aggregated_count": event["aggregated_count"],
             "result": event["value_string"]} for event in self.values_of("client_api_call.")])

    def test_named_values_have_their_columns(self):
        fields = ("kiv_event_name", "aggregated_count", "aggregation_method", "value_int",
                  "value_float", "value_string")
        self.assert_rows(self.rows(f"SELECT {', '.join(fields)} FROM kiv_values"),
                         [{field: event[field] for field in fields}
                          for event in self.values_of("")])

    def test_a_line_shows_what_an_error_is(self):
        shown = self.lnav("-n", str(self.file)).splitlines()
        errors = [line for line in shown if "wexo_kiv_error_code" in line]
        self.assertEqual(len(errors), len(self.of("wexo_kiv_error_code")))
        pattern = r"^\S+ FATAL +1 wexo_kiv_error_code Mixer render kiv\.MMAP_FAILED=-12 COUNT"
        fatal = [line for line in errors if re.match(pattern, line)]
        self.assertEqual(len(fatal), sum(event.get("severity") == 3 for event in self.events))


if __name__ == "__main__":
    unittest.main()
