#!/usr/bin/env python3
"""Runs the Collector as the fleet guide configures it, with the engines behind it, under the load
of several processes. Compares the reports made with what each of them holds.

Usage: check_collector.py [--seconds N] [--only PATTERN] PAGE COLLECTOR LOKI PROMETHEUS BUILD
"""

import argparse
import collections
import contextlib
import json
import pathlib
import signal
import subprocess
import sys
import tempfile
import time
import unittest
import urllib.parse
import uuid

from servers import (Collector, Loki, Prometheus, environment_without_otel, free_port, page_block,
                     wait_until)

PROCESSES = 8
REPORTS_PER_SECOND = 1000
CODES = 100
# One host name for two processes each, so that a host's numbers are sums.
HOSTS = [f"lab-{i // 2}" for i in range(PROCESSES)]
DOWN_SECONDS = 3
# Long enough for a process to deliver what it held back meanwhile, before it ends.
LEAST_SECONDS = 20
# Several windows, where nothing goes wrong in between.
SHORT_SECONDS = 12
TOKEN = "only/for+this.check=="
SERVICE = "render_service"
# How often the logs engine holds an event of a host, at most.
TIMES_OF_AN_EVENT = """
max(sum by (process_pid, kiv_session_id, kiv_error_code, start_time_since_epoch,
            end_time_since_epoch) (
  count_over_time({{service_name="{service}"}} | host_name="{host}" [1h])))"""

options = None


class Client:
    """A process that reports errors and prints how often it reported each code."""

    def __init__(self, host, seconds, environment):
        environment = dict(environment_without_otel(), **environment,
                           LD_LIBRARY_PATH=str(options.build / "lib" / "tamsa" / "otlp"),
                           OTEL_SERVICE_NAME=SERVICE,
                           OTEL_RESOURCE_ATTRIBUTES=f"host.name={host},"
                                                    f"service.instance.id={uuid.uuid4()}")
        program = options.build / "tests" / "modules" / "otlp" / "collector" / "load" / "fleet_load"
        self.host = host
        self.process = subprocess.Popen(
            ["setpriv", "--pdeathsig", "KILL", program,
             *map(str, (seconds, REPORTS_PER_SECOND, CODES))],
            env=environment, text=True, stdout=subprocess.PIPE, stderr=subprocess.PIPE)

    def finish(self):
        output, self.log = self.process.communicate(timeout=600)
        if self.process.returncode != 0:
            raise RuntimeError(f"a client ended with {self.process.returncode}:\n{self.log}")
        self.made = json.loads(output)

    def kill(self):
        self.process.kill()
        self.process.communicate()


class Clients:
    def __init__(self, stack, seconds, environment):
        self.all = []
        for host in HOSTS:
            client = Client(host, seconds, environment)
            stack.callback(client.kill)
            self.all.append(client)
            # Their windows close at different times.
            time.sleep(0.3)

    def finish(self):
        """Returns what was reported, by host and code."""
        for client in self.all:
            client.finish()
        print(self.log(), end="", file=sys.stderr, flush=True)
        made = collections.Counter()
        for client in self.all:
            for code, count in client.made.items():
                made[client.host, code] += count
        return made

    def log(self):
        return "".join(client.log for client in self.all)


def identity(resource, record):
    """Returns what distinguishes an event from all others. Sending it again does not change it."""
    attributes = record["attributes"]
    return (resource["host.name"], resource["process.pid"], attributes["kiv_session_id"],
            attributes["kiv_error_code"], attributes["start_time_since_epoch"],
            attributes["end_time_since_epoch"])


class Arrived:
    """Counts what a Collector's file holds: how often each event is there, the reports by host and
    code, and the reports that were lost. An event that is there twice counts once in the reports."""

    def __init__(self, records):
        self.times = collections.Counter()
        self.reports = collections.Counter()
        self.lost = 0
        for resource, record in records:
            attributes = record["attributes"]
            if record["eventName"] == "kiv.telemetry.loss":
                self.lost += attributes["kiv.telemetry.loss.reports"]
                continue
            if record["eventName"] != "wexo_kiv_error_code":
                continue
            event = identity(resource, record)
            if event not in self.times:
                self.reports[resource["host.name"],
                             attributes["kiv_error_code"]] += attributes["aggregated_count"]
            self.times[event] += 1

    def repeated(self):
        return sum(times - 1 for times in self.times.values())


def figures(*parts):
    print("FIGURES | " + " | ".join(parts), flush=True)


class CollectorTest(unittest.TestCase):
    def setUp(self):
        self.maxDiff = 2000
        self.stack = contextlib.ExitStack()
        self.addCleanup(self.stack.close)
        self.directory = pathlib.Path(self.stack.enter_context(tempfile.TemporaryDirectory()))
        self.configuration = {
            name: self.write(name, page_block(options.page, "yaml", f"# {name}"))
            for name in ("otelcol.yaml", "loki.yaml", "prometheus.yml")}

    def write(self, name, text):
        path = self.directory / name
        path.write_text(text)
        return path

    def certificate(self):
        path = self.directory / "collector"
        subprocess.run(
            ["openssl", "req", "-x509", "-newkey", "rsa:2048", "-nodes", "-subj", "/CN=collector",
             "-addext", "subjectAltName=IP:127.0.0.1", "-keyout", f"{path}.key",
             "-out", f"{path}.crt"], check=True, stderr=subprocess.DEVNULL)
        return path

    def start(self, server):
        server.start()
        self.stack.callback(server.stop)
        return server

    def make_loki(self):
        return Loki(options.loki, self.configuration["loki.yaml"], self.directory / "loki")

    def make_collector(self, loki_url="http://127.0.0.1:9", **settings):
        certificate = self.certificate()
        self.metrics_port = free_port()
        http = "receivers::otlp::protocols::http"
        collector = Collector(
            options.collector, self.configuration["otelcol.yaml"], self.directory / "collector.d",
            {f"{http}::tls::cert_file": f"{certificate}.crt",
             f"{http}::tls::key_file": f"{certificate}.key",
             "extensions::file_storage::directory": self.directory / "queue",
             "exporters::otlp_http/loki::endpoint": f"{loki_url}/otlp",
             "exporters::prometheus::endpoint": f"127.0.0.1:{self.metrics_port}", **settings},
            {"KIV_TOKEN": TOKEN})
        self.sender = {
            "OTEL_EXPORTER_OTLP_ENDPOINT": f"https://127.0.0.1:{collector.port}",
            "OTEL_EXPORTER_OTLP_CERTIFICATE": f"{certificate}.crt",
            "OTEL_EXPORTER_OTLP_HEADERS":
                "authorization=" + urllib.parse.quote(f"Bearer {TOKEN}", safe="")}
        return collector

    def start_clients(self, environment=None, seconds=None):
        return Clients(self.stack, seconds or SHORT_SECONDS, environment or self.sender)

    def assert_loki_gives(self, loki, made, repeats=False):
        """Asks for an hour's errors with the page's query until the answer is known to be whole.
        With `repeats`, an event may be there twice."""
        query = page_block(options.page, "logql")

        def answer():
            return {(labels.get("host_name"), labels.get("kiv_error_code")): round(value)
                    for labels, value in loki.query(query)}

        with contextlib.suppress(TimeoutError):
            wait_until(lambda: sum(answer().values()) >= made.total(), "Loki", 60)
        # What is still under way then would show as too much.
        time.sleep(2)
        held = answer()
        times = max(value for host in set(HOSTS) for _, value in
                    loki.query(TIMES_OF_AN_EVENT.format(service=SERVICE, host=host)))
        figures("Loki", f"reports made {made.total()}", f"in Loki {sum(held.values())}",
                f"an event at most {times:.0f} times")
        if repeats:
            self.assertLessEqual(times, 2)
            self.assertEqual(held.keys(), made.keys())
            self.assertEqual([key for key in made if held[key] < made[key]], [])
        else:
            self.assertEqual(held, made)
        # Loki splits busy streams by itself, by labels that begin with underscores.
        labels = {label for stream in loki.streams(f'{{service_name="{SERVICE}"}}')
                  for label in stream if not label.startswith("__")}
        self.assertEqual(labels, {"service_name"})

    def run_with_restart(self, how, loki):
        """Returns what was reported and what the file holds, after the Collector has been stopped
        and started in between."""
        collector = self.start(self.make_collector(loki.url))
        clients = self.start_clients(seconds=options.seconds)
        time.sleep(options.seconds / 3)
        # A request has just been taken, and others are under way.
        size = collector.file.stat().st_size
        wait_until(lambda: collector.file.stat().st_size > size, "a request", pause=0.001)
        collector.stop(how)
        time.sleep(DOWN_SECONDS)
        collector.start()
        made = clients.finish()
        arrived = Arrived(collector.records())
        figures(how.name, f"{PROCESSES} processes", f"{options.seconds} s",
                f"reports made {made.total()}", f"in the file {arrived.reports.total()}",
                f"events {len(arrived.times)}", f"repeated {arrived.repeated()}")
        self.assertNotIn("lost", clients.log())
        self.assertEqual(made.total(), PROCESSES * REPORTS_PER_SECOND * options.seconds)
        self.assertEqual(arrived.reports, made)
        self.assertEqual(arrived.lost, 0)
        return made, arrived

    def test_a_collector_that_is_stopped_and_started_gets_every_report_once(self):
        loki = self.start(self.make_loki())
        made, arrived = self.run_with_restart(signal.SIGTERM, loki)
        self.assertEqual(arrived.repeated(), 0)
        self.assert_loki_gives(loki, made)

    def test_a_collector_that_is_killed_and_started_gets_every_report(self):
        loki = self.make_loki()
        made, arrived = self.run_with_restart(signal.SIGKILL, loki)
        self.assertLessEqual(max(arrived.times.values()), 2)
        # The Collector was killed with the events for Loki in its queue on disk.
        self.start(loki)
        self.assert_loki_gives(loki, made, repeats=True)

    def test_a_full_disk_is_not_taken_for_success(self):
        full = self.directory / "full.jsonl"
        full.symlink_to("/dev/full")
        self.start(self.make_collector(**{"exporters::file::path": full}))
        clients = self.start_clients(seconds=1)
        clients.finish()
        self.assertIn("HTTP status 503", clients.log())

    def test_a_wrong_token_is_refused(self):
        collector = self.start(self.make_collector())
        clients = self.start_clients(
            dict(self.sender, OTEL_EXPORTER_OTLP_HEADERS="authorization=Bearer%20wrong"), 1)
        clients.finish()
        self.assertEqual(collector.records(), [])
        self.assertIn("401", clients.log())

    def test_the_logs_engine_takes_events_from_the_module_itself(self):
        loki = self.start(self.make_loki())
        clients = self.start_clients({"OTEL_EXPORTER_OTLP_ENDPOINT": f"{loki.url}/otlp"})
        made = clients.finish()
        self.assert_loki_gives(loki, made)

    def start_prometheus(self):
        page = page_block(options.page, "yaml", "# prometheus.yml")
        self.assertEqual(page.count("localhost:8889"), 1)
        return self.start(Prometheus(
            options.prometheus,
            self.write("prometheus.yml", "global: {scrape_interval: 1s}\n" +
                       page.replace("localhost:8889", f"127.0.0.1:{self.metrics_port}")),
            self.directory / "prometheus"))

    def ask_prometheus(self, prometheus, expected):
        """Returns the answer to the page's query, by host and code, as soon as it has the expected
        number of reports."""
        query = page_block(options.page, "promql")

        def answer():
            return {(labels.get("host_name"), labels.get("kiv_error_code")): round(value)
                    for labels, value in prometheus.query(query)}

        with contextlib.suppress(TimeoutError):
            wait_until(lambda: sum(answer().values()) >= expected, "Prometheus", 20)
        return answer()

    def test_metrics_count_reports(self):
        collector = self.start(self.make_collector())
        prometheus = self.start_prometheus()
        made = self.start_clients().finish()
        counted = self.ask_prometheus(prometheus, made.total())
        records = len(collector.records())
        figures("Prometheus", f"reports made {made.total()}",
                f"kiv_reports_total {sum(counted.values())}", f"records {records}")
        self.assertEqual(counted, made)
        # Counting records would not have given this.
        self.assertLess(records, made.total())

    def test_lost_reports_are_accounted_for_and_counted_nowhere_else(self):
        loki = self.start(self.make_loki())
        collector = self.make_collector(loki.url)
        clients = self.start_clients(dict(self.sender, OTEL_BLRP_MAX_QUEUE_SIZE="1",
                                          OTEL_BLRP_MAX_EXPORT_BATCH_SIZE="1"), LEAST_SECONDS)
        # Of several windows, the queue takes the first.
        time.sleep(SHORT_SECONDS)
        self.start(collector)
        prometheus = self.start_prometheus()
        made = clients.finish()
        arrived = Arrived(collector.records())
        counted = self.ask_prometheus(prometheus, arrived.reports.total())
        figures("Losses", f"reports made {made.total()}",
                f"in the file {arrived.reports.total()}", f"lost {arrived.lost}",
                f"kiv_reports_total {sum(counted.values())}")
        self.assertGreater(arrived.lost, 0)
        self.assertEqual(arrived.reports.total() + arrived.lost, made.total())
        self.assertEqual(counted, arrived.reports)
        self.assert_loki_gives(loki, arrived.reports)


def main():
    global options
    parser = argparse.ArgumentParser()
    parser.add_argument("--seconds", type=int, default=30,
                        help="how long the Collector is under load where it is stopped meanwhile")
    parser.add_argument("--only", help="the tests whose names match this pattern")
    for name in ("page", "collector", "loki", "prometheus", "build"):
        parser.add_argument(name, type=lambda text: pathlib.Path(text).resolve())
    options = parser.parse_args()
    if options.seconds < LEAST_SECONDS:
        parser.error(f"--seconds: {options.seconds} is less than {LEAST_SECONDS}")
    arguments = ["check_collector.py"] + (["-k", options.only] if options.only else [])
    unittest.main(argv=arguments, verbosity=2)


if __name__ == "__main__":
    main()
