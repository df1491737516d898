#!/usr/bin/python3
"""Sends events to a receiver that is not ours, and holds every request against the protocol.

Usage: check_receiver.py INSTALLATION REPORTER EXIT_PROGRAM MODULE_DIRECTORY
"""

import collections
import importlib
import os
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


def request_message(sources, directory):
    """The protocol's message for a request, made from its .proto files."""
    files = [str(path.relative_to(sources))
             for kind in ("common", "resource", "logs", "collector/logs")
             for path in sources.glob(f"opentelemetry/proto/{kind}/v1/*.proto")]
    subprocess.run(["protoc", f"-I{sources}", f"--python_out={directory}", *files], check=True)
    sys.path.insert(0, directory)
    service = importlib.import_module("opentelemetry.proto.collector.logs.v1.logs_service_pb2")
    return service.ExportLogsServiceRequest


class ReceiverTest(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        with tempfile.TemporaryDirectory() as directory:
            cls.message = staticmethod(request_message(protocol(INSTALLATION), directory))

    def parse(self, body):
        """Fails on anything that the protocol does not know."""
        return json_format.Parse(body, self.message(), ignore_unknown_fields=False)

    def parsed_records(self, receiver):
        return [record for body in receiver.bodies()
                for resource in self.parse(body).resource_logs
                for scope in resource.scope_logs for record in scope.log_records]

    def start_reporter(self, receiver, name):
        """Reports, waits for its pipe, and reports the rest in an exit handler."""
        pipe = os.path.join(receiver.directory.name, name)
        os.mkfifo(pipe)
        command = [REPORTER, "stay-late", str(EVENTS), str(LATE_EVENTS)]
        return subprocess.Popen(command, stdout=subprocess.DEVNULL,
                                env=receiver.environment(REPORTER_PIPE=pipe)), pipe

    def test_the_parser_is_strict(self):
        self.parse('{"resourceLogs":[{"scopeLogs":[{"logRecords":[{"severityNumber":9}]}]}]}')
        for wrong in ('{"resource_log":[]}',
                      '{"resourceLogs":[{"scopeLogs":[{"logRecords":[{"name":"x"}]}]}]}',
                      '{"resourceLogs":[{"scopeLogs":[{"logRecords":[{"timeUnixNano":-1}]}]}]}'):
            with self.assertRaises(json_format.ParseError):
                self.parse(wrong)

    def test_events_of_eight_processes_arrive_whole(self):
        with Receiver(INSTALLATION) as receiver:
            reporters = [self.start_reporter(receiver, f"pipe-{i}") for i in range(PROCESSES)]
            # More than can be trusted to get through in the short time that an exit has.
            while len(receiver.records()) < PROCESSES * EVENTS:
                time.sleep(0.1)
            for _, pipe in reporters:
                open(pipe, "w").close()
            for reporter, _ in reporters:
                self.assertEqual(reporter.wait(), 0)
        self.assertEqual(receiver.status, 0)

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
        print(f"FIGURES | {PROCESSES} processes | sent {SENT} | requests "
              f"{len(receiver.bodies())} | received {len(receiver.records())} | dropped 0 |")

    def check_types(self, parsed):
        for record in parsed:
            values = {a.key: a.value for a in record.attributes}
            number = values["number"].int_value
            self.assertEqual(record.time_unix_nano, (1_700_000_000_000 + number) * 1_000_000)
            self.assertGreater(record.observed_time_unix_nano, record.time_unix_nano)
            self.assertEqual(record.severity_number, 9 + 4 * (number % 4))
            self.assertEqual(values["event.name"].string_value, "probe")
            self.assertEqual(values["half"].double_value, number / 2)
            self.assertEqual(values["text"].string_value, 'café, "quoted"')

    def test_every_kind_of_event_of_the_library_arrives(self):
        with Receiver(INSTALLATION) as receiver:
            subprocess.run([EXIT_PROGRAM, "every-kind"], check=True, stderr=subprocess.DEVNULL,
                           env=receiver.environment(LD_LIBRARY_PATH=MODULE_DIRECTORY,
                                                    OTEL_SERVICE_NAME="every kind"))
        records = receiver.records()
        self.assertEqual(collections.Counter(r["attributes"]["event.name"] for _, r in records),
                         {"wexo_kiv_generic": 3, "": 1, "wexo_kiv_stream_event": 1,
                          "wexo_kiv_error_code": 1})
        for resource, record in records:
            self.assertEqual(resource["service.name"], "every kind")
            self.assertIn("kiv_session_id", record["attributes"])
        self.assertEqual(len(self.parsed_records(receiver)), len(records))


if __name__ == "__main__":
    unittest.main(argv=sys.argv[:1], verbosity=2)
