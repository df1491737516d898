#!/usr/bin/python3
"""Sends events to an independent receiver, in both encodings, and checks every request by the
protocol's definitions.

Usage: check_receiver.py INSTALLATION REPORTER EXIT_PROGRAM MODULE_DIRECTORY
"""

import collections
import importlib
import os
import pathlib
import re
import shutil
import subprocess
import sys
import tempfile
import time
import unittest

from google.protobuf import json_format

from receiver import Receiver, protocol

INSTALLATION, REPORTER, EXIT_PROGRAM, MODULE_DIRECTORY = sys.argv[1:5]
PROCESSES = 8
EVENTS = 1000
LATE_EVENTS = 5
SENT = PROCESSES * (EVENTS + LATE_EVENTS)


PROTOCOLS = {"http/protobuf": "application/x-protobuf", "http/json": "application/json"}


def add_event_name(path):
    """The receiver's definitions are older than this field of log records."""
    text = path.read_text()
    if "event_name = 12" not in text:
        text = re.sub(r"(message LogRecord \{\n)", r"\1  string event_name = 12;\n", text)
        path.write_text(text)


def request_message(sources, directory):
    """The protocol's message for a request, made from its .proto files."""
    copy = pathlib.Path(directory)
    shutil.copytree(sources / "opentelemetry", copy / "opentelemetry")
    add_event_name(copy / "opentelemetry/proto/logs/v1/logs.proto")
    files = [str(path.relative_to(copy))
             for kind in ("common", "resource", "logs", "collector/logs")
             for path in copy.glob(f"opentelemetry/proto/{kind}/v1/*.proto")]
    subprocess.run(["protoc", f"-I{copy}", f"--python_out={copy}", *files], check=True)
    sys.path.insert(0, directory)
    service = importlib.import_module("opentelemetry.proto.collector.logs.v1.logs_service_pb2")
    return service.ExportLogsServiceRequest


def has_unknown_fields(message):
    """True if the message, or one in it, has a field that its definition lacks."""
    if len(message.UnknownFields()) > 0:
        return True
    for field, value in message.ListFields():
        if field.message_type is not None:
            repeated = field.label == field.LABEL_REPEATED
            if any(has_unknown_fields(one) for one in (value if repeated else [value])):
                return True
    return False


class ReceiverTest(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        with tempfile.TemporaryDirectory() as directory:
            cls.message = staticmethod(request_message(protocol(INSTALLATION), directory))

    def parse(self, media_type, body):
        """Fails on anything that the protocol does not define."""
        if media_type == PROTOCOLS["http/json"]:
            return json_format.Parse(body, self.message(), ignore_unknown_fields=False)
        self.assertEqual(media_type, PROTOCOLS["http/protobuf"])
        request = self.message()
        request.ParseFromString(body)
        self.assertFalse(has_unknown_fields(request))
        return request

    def parsed_records(self, receiver):
        return [record for body in receiver.bodies()
                for resource in self.parse(*body).resource_logs
                for scope in resource.scope_logs for record in scope.log_records]

    def start_reporter(self, receiver, name, protocol_name):
        """Starts a reporter that waits for its pipe and reports the rest in an exit handler."""
        pipe = os.path.join(receiver.directory.name, name)
        os.mkfifo(pipe)
        command = [REPORTER, "stay-late", str(EVENTS), str(LATE_EVENTS)]
        return subprocess.Popen(command, stdout=subprocess.DEVNULL,
                                env=receiver.environment(
                                    REPORTER_PIPE=pipe,
                                    OTEL_EXPORTER_OTLP_PROTOCOL=protocol_name)), pipe

    def test_the_parser_is_strict(self):
        def parse(text):
            self.parse("application/json", text)

        parse('{"resourceLogs":[{"scopeLogs":[{"logRecords":[{"severityNumber":9}]}]}]}')
        for wrong in ('{"resource_log":[]}',
                      '{"resourceLogs":[{"scopeLogs":[{"logRecords":[{"name":"x"}]}]}]}',
                      '{"resourceLogs":[{"scopeLogs":[{"logRecords":[{"timeUnixNano":-1}]}]}]}'):
            with self.assertRaises(json_format.ParseError):
                parse(wrong)
        unknown = b"\x0a\x04\x12\x02\x7a\x00"
        with self.assertRaises(AssertionError):
            self.parse("application/x-protobuf", unknown)

    def test_events_of_eight_processes_arrive_whole(self):
        for name in PROTOCOLS:
            with self.subTest(name):
                self.check_eight_processes(name)

    def check_eight_processes(self, name):
        with Receiver(INSTALLATION) as receiver:
            reporters = [self.start_reporter(receiver, f"pipe-{i}", name)
                         for i in range(PROCESSES)]
            # These could be too many for the short time that an exit has.
            while len(receiver.records()) < PROCESSES * EVENTS:
                time.sleep(0.1)
            for _, pipe in reporters:
                open(pipe, "w").close()
            for reporter, _ in reporters:
                self.assertEqual(reporter.wait(), 0)
        self.assertEqual(receiver.status, 0)
        self.assertEqual({media_type for media_type, _ in receiver.bodies()}, {PROTOCOLS[name]})

        by_process = collections.defaultdict(list)
        for _, record in receiver.records():
            attributes = record["attributes"]
            by_process[attributes["reporter"]].append(int(attributes["number"]))
        self.assertEqual(len(by_process), PROCESSES)
        for numbers in by_process.values():
            self.assertEqual(sorted(numbers), list(range(EVENTS + LATE_EVENTS)))

        parsed = self.parsed_records(receiver)
        self.assertEqual(len(parsed), SENT)
        self.check_types(parsed)
        print(f"FIGURES | {name} | {PROCESSES} processes | sent {SENT} | requests "
              f"{len(receiver.bodies())} | received {len(receiver.records())} | lost 0 |")

    def check_types(self, parsed):
        for record in parsed:
            values = {a.key: a.value for a in record.attributes}
            number = values["number"].int_value
            self.assertEqual(record.time_unix_nano, (1_700_000_000_000 + number) * 1_000_000)
            self.assertGreater(record.observed_time_unix_nano, record.time_unix_nano)
            self.assertEqual(record.severity_number, 9 + 4 * (number % 4))
            self.assertEqual(values["event.name"].string_value, "probe")
            self.assertEqual(record.event_name, "probe")
            self.assertEqual(record.body.string_value, "1 × probe")
            self.assertEqual(values["half"].double_value, number / 2)
            self.assertEqual(values["text"].string_value, 'café, "quoted"')

    def test_every_kind_of_event_of_the_library_arrives(self):
        for name in PROTOCOLS:
            with self.subTest(name):
                self.check_every_kind(name)

    def check_every_kind(self, name):
        with Receiver(INSTALLATION) as receiver:
            subprocess.run([EXIT_PROGRAM, "every-kind"], check=True, stderr=subprocess.DEVNULL,
                           env=receiver.environment(LD_LIBRARY_PATH=MODULE_DIRECTORY,
                                                    OTEL_SERVICE_NAME="every kind",
                                                    OTEL_EXPORTER_OTLP_PROTOCOL=name))
        records = receiver.records()
        self.assertEqual(collections.Counter(r["attributes"]["event.name"] for _, r in records),
                         {"wexo_kiv_generic": 3, "": 1, "wexo_kiv_stream_event": 1,
                          "wexo_kiv_error_code": 1})
        for resource, record in records:
            self.assertEqual(resource["service.name"], "every kind")
            self.assertNotIn("service.version", resource)
            self.assertIn("kiv_session_id", record["attributes"])
        self.assertEqual(len({resource["service.instance.id"] for resource, _ in records}), 1)
        parsed = self.parsed_records(receiver)
        self.assertEqual(collections.Counter(record.event_name for record in parsed),
                         {"wexo_kiv_generic": 3, "kiv.audio_latency": 1,
                          "wexo_kiv_stream_event": 1, "wexo_kiv_error_code": 1})
        for record in parsed:
            self.assertRegex(record.body.string_value, "^1 × ")


if __name__ == "__main__":
    unittest.main(argv=sys.argv[:1], verbosity=2)
